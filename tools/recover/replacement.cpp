// Replaces the original by a recovered recording without ever risking it.
#include "recover/replacement.h"

#include "control/actions_media.h"
#include "recover/failed_call.h"
#include "util/fd_owned.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <fcntl.h>
#include <sys/statvfs.h>

namespace {

// Never a recording's name: hidden, and not ending in ".mp4".
constexpr std::string_view COPY_SUFFIX = ".recovering";
// Space that the daemon needs while the copy exists: with less, a recording stops.
constexpr std::uint64_t ROOM_LEFT = RECORD_BYTES + 16 * 1024 * 1024;

std::string copy_name(const std::string& name) {
    return "." + name + std::string{COPY_SUFFIX};
}

// Advances `offset` by what was written.
void write_all(int file, byte_view bytes, std::uint64_t& offset) {
    while (!bytes.empty()) {
        const ssize_t done = pwrite(file, bytes.data(), bytes.size(), static_cast<off_t>(offset));
        if (done < 0 && errno == EINTR) {
            continue;
        }
        require_done(static_cast<int>(std::min<ssize_t>(done, 0)), "writing");
        offset += static_cast<std::uint64_t>(done);
        bytes = bytes.subspan(static_cast<std::size_t>(done));
    }
}

void sync_file(int file) {
    require_done(fsync(file), "syncing to storage");
}

std::uint64_t size_of(const original_file& original) {
    return static_cast<std::uint64_t>(original.status.st_size);
}

// Returns the end of what is kept of the original.
std::uint64_t kept_end(const original_file& original, const repair_plan& repair) {
    return repair.index.empty() ? size_of(original) : repair.data_end;
}

bool has_room_for_copy(const original_file& original, const repair_plan& repair) {
    struct statvfs room {};
    if (fstatvfs(original.folder, &room) != 0) {
        return false;
    }
    return std::uint64_t{room.f_bavail} * room.f_frsize >=
           kept_end(original, repair) + repair.index.size() + ROOM_LEFT;
}

// Errors are ignored: some file systems have no owners or modes, and only root can change owners.
void keep_attributes(int file, const struct stat& status) {
    const std::array<timespec, 2> times{status.st_atim, status.st_mtim};
    static_cast<void>(fchown(file, status.st_uid, status.st_gid));
    static_cast<void>(fchmod(file, status.st_mode & 0777));
    static_cast<void>(futimens(file, times.data()));
}

void copy_bytes(int from, std::uint64_t end, int to, std::uint64_t& offset) {
    constexpr std::size_t STEP = 256 * 1024;
    byte_window window{from, end};
    while (offset < end) {
        const byte_view bytes = window.at(offset, STEP);
        if (bytes.empty()) { // the file was truncated meanwhile
            errno = EIO;
            throw_errno("reading");
        }
        write_all(to, bytes, offset);
    }
}

void write_copy(int copy, const original_file& original, const repair_plan& repair) {
    std::uint64_t offset = 0;
    write_all(copy, make_header(repair.data_end - DATA_START), offset);
    copy_bytes(original.file, kept_end(original, repair), copy, offset);
    write_all(copy, repair.index, offset);
    keep_attributes(copy, original.status);
    sync_file(copy);
}

void replace_by_copy(const original_file& original, const repair_plan& repair) {
    const std::string name = copy_name(original.name);
    unlinkat(original.folder, name.c_str(), 0); // left by an earlier run
    const fd_owned copy{openat(original.folder, name.c_str(),
                               O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600)};
    require_done(copy.get(), "making a copy");
    try {
        write_copy(copy.get(), original, repair);
        require_done(
            renameat(original.folder, name.c_str(), original.folder, original.name.c_str()),
            "renaming the copy");
    } catch (...) {
        unlinkat(original.folder, name.c_str(), 0);
        throw;
    }
    // Some file systems can't sync folders.
    if (fsync(original.folder) != 0 && errno == EIO) {
        throw_errno("syncing the folder");
    }
}

// Opens the same file for writing.
fd_owned open_again(const original_file& original) {
    fd_owned file{
        openat(original.folder, original.name.c_str(), O_WRONLY | O_CLOEXEC | O_NOFOLLOW)};
    require_done(file.get(), "opening for writing");
    struct stat status {};
    require_done(fstat(file.get(), &status), "looking at it");
    if (status.st_dev != original.status.st_dev || status.st_ino != original.status.st_ino) {
        errno = ESTALE;
        throw_errno("opening for writing");
    }
    return file;
}

void append_index(int file, const original_file& original, byte_view index) {
    std::uint64_t offset = size_of(original);
    try {
        write_all(file, index, offset);
        sync_file(file);
    } catch (...) {
        static_cast<void>(ftruncate(file, original.status.st_size));
        throw;
    }
}

// Bytes at the end that belong to no sample become part of the media data.
void repair_in_place(const original_file& original, const repair_plan& repair) {
    const fd_owned file = open_again(original);
    append_index(file.get(), original, repair.index);
    const std::uint64_t data_end = repair.index.empty() ? repair.data_end : size_of(original);
    std::uint64_t offset = 0;
    write_all(file.get(), make_header(data_end - DATA_START), offset);
    sync_file(file.get());
    keep_attributes(file.get(), original.status);
}

} // namespace

repair_way replace_recording(const original_file& original, const repair_plan& repair) {
    if (has_room_for_copy(original, repair)) {
        replace_by_copy(original, repair);
        return repair_way::copied;
    }
    repair_in_place(original, repair);
    return repair_way::in_place;
}

bool is_unfinished_copy(const std::string& name) {
    return name.starts_with('.') && name.ends_with(".mp4" + std::string{COPY_SUFFIX});
}

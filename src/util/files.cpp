// Files, folders and free space.
#include "util/files.h"

#include "core/log.h"
#include "util/file_owners.h"
#include "util/sysroot.h"

#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>
#include <utility>

namespace {

file_owner open_file(const char* path, const char* mode) {
    return file_owner{std::fopen(sysroot_path(path).c_str(), mode)};
}

bool is_folder(FILE* file) {
    struct stat status {};
    return fstat(fileno(file), &status) == 0 && S_ISDIR(status.st_mode);
}

} // namespace

int touch_file(const char* path) {
    const int fd = open(sysroot_path(path).c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0444);
    if (fd < 0) {
        return -1;
    }
    close(fd);
    return 0;
}

int is_file_created(const char* path) {
    return access(sysroot_path(path).c_str(), F_OK) == 0 ? 1 : 0;
}

malloc_text read_full_file(const char* path) {
    const file_owner file = open_file(path, "rbe");
    // fopen also opens a folder, whose size is undefined.
    if (!file || is_folder(file.get()) || std::fseek(file.get(), 0, SEEK_END) != 0) {
        return nullptr;
    }
    const long end = std::ftell(file.get());
    if (end < 0 || std::fseek(file.get(), 0, SEEK_SET) != 0) {
        return nullptr;
    }
    const auto size = static_cast<std::size_t>(end);
    malloc_text text = emalloc_text(size + 1);
    const std::size_t length = std::fread(text.get(), 1, size, file.get());
    text.get()[length] = '\0';
    return std::ferror(file.get()) == 0 ? std::move(text) : nullptr;
}

int write_full_file(const char* path, const char* text) {
    file_owner file = open_file(path, "we");
    if (!file) {
        return 1;
    }
    const std::size_t length = std::strlen(text);
    const bool written = std::fwrite(text, 1, length, file.get()) == length;
    // fclose writes what is buffered; this is where a driver attribute rejects a value.
    const bool closed = std::fclose(file.release()) == 0;
    return written && closed ? 0 : -1;
}

void create_folder(const char* path) {
    const std::string folder = sysroot_path(path);
    struct stat status {};
    if (stat(folder.c_str(), &status) != 0) {
        mkdir(folder.c_str(), 0777);
    }
}

int get_free_space(const char* path, std::uint64_t& free_bytes) {
    struct statvfs status {};
    if (statvfs(sysroot_path(path).c_str(), &status) != 0) {
        log_message(LEVEL_WARN, "Failed to query the system for the remaing space in %s", path);
        return 1;
    }
    free_bytes = std::uint64_t{status.f_frsize} * std::uint64_t{status.f_bfree};
    log_message(LEVEL_DEBUG, "Free space is %" PRIu64, free_bytes);
    return 0;
}

int has_enough_space(const char* path, std::uint64_t needed) {
    std::uint64_t free_bytes = 0;
    if (get_free_space(path, free_bytes) != 0) {
        return 0;
    }
    if (free_bytes >= needed) {
        return 1;
    }
    log_message(LEVEL_WARN, "not enough bytes, asking for %" PRIu64 ", but have %" PRIu64, needed,
                free_bytes);
    return 0;
}

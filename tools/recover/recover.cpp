// Recovers recordings that were interrupted.
#include "recover/recover.h"

#include "recover/clock.h"
#include "recover/failed_call.h"
#include "recover/lost_samples.h"
#include "recover/mp4_index.h"
#include "recover/neighbours.h"
#include "recover/open_files.h"
#include "recover/replacement.h"
#include "util/fd_owned.h"

#include <algorithm>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <sys/file.h>

namespace {

namespace fs = std::filesystem;

// A file that can't be recovered for another reason than a failed call.
class not_recoverable : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// A folder that is locked against other processes.
struct work_folder {
    fs::path path;
    fd_owned folder;
};

work_folder open_folder(const fs::path& path) {
    work_folder work{.path = path,
                     .folder = fd_owned{open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)}};
    require_done(work.folder.get(), "opening the folder");
    if (flock(work.folder.get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
        throw not_recoverable{"another vtrdc-recover is working in this folder"};
    }
    return work;
}

void remove_unfinished_copies(const work_folder& work) {
    std::error_code unreadable;
    for (fs::directory_iterator entry{work.path, unreadable};
         !unreadable && entry != fs::directory_iterator{}; entry.increment(unreadable)) {
        if (is_unfinished_copy(entry->path().filename())) {
            unlinkat(work.folder.get(), entry->path().filename().c_str(), 0);
        }
    }
}

// What was found in a file, and how to repair it.
struct finding {
    movie tracks{};
    repair_plan repair{};
    std::uint64_t dropped = 0;
    bool is_empty = false;
};

void refuse_foreign(const scanned& found) {
    const std::uint64_t known =
        found.end - found.start - std::min(found.unknown, found.end - found.start);
    if (found.unknown > known) {
        throw not_recoverable{"most of it is neither H.264 pictures nor MP3 sound"};
    }
}

// Returns the parameter sets of its pictures, from the file itself or from another recording.
parameter_sets complete_sets(const original_file& original, byte_window& file, const scanned& found,
                             parameter_sets own) {
    if (found.picture_sizes.empty() || own.are_complete()) {
        return own;
    }
    parameter_sets others = sets_of_neighbour(original.folder, original.name, file, found);
    if (!others.are_complete()) {
        throw not_recoverable{
            "neither the file nor a complete recording in its folder has the parameter "
            "sets of its pictures"};
    }
    return others;
}

// True if the muxer wrote the index but not yet the header that points to it.
bool is_index_there(byte_window& file, std::uint64_t offset) {
    return read_index(file, offset).has_value();
}

finding examine(const original_file& original, byte_window& file, const outline& outline,
                const progress_reporter& progress) {
    byte_window data{original.file, outline.data_end};
    parameter_sets sets = find_sets_in_stream(data, DATA_START);
    scanned found = scan_samples(data, DATA_START, sets, progress);
    if (found.runs.empty()) {
        return {.is_empty = true};
    }
    refuse_foreign(found);
    finding result{.repair = {.data_end = found.end, .index = {}}};
    const bool is_indexed = is_index_there(file, found.end);
    if (!is_indexed) {
        sets = complete_sets(original, file, found, std::move(sets));
    }
    cut_into_chunks(found);
    const std::optional<double> offset = offset_from_file_before(original.folder, original.name);
    count_lost_samples(found, offset);
    result.tracks = make_movie(found, tell_times(found, offset));
    result.is_empty = result.tracks.pictures.sizes.empty() && result.tracks.sound.sizes.empty();
    result.dropped = found.picture_sizes.size() - result.tracks.pictures.sizes.size();
    if (!result.is_empty && !is_indexed) {
        result.repair.index = make_index(result.tracks, sets, found.sound);
    }
    return result;
}

void recover_incomplete(const original_file& original, byte_window& file, const outline& outline,
                        const recover_options& options, file_report& report) {
    const auto progress = [&](std::uint64_t done) {
        options.progress(report.path,
                         static_cast<double>(done) / static_cast<double>(outline.data_end));
    };
    const finding found = examine(original, file, outline, progress);
    if (found.is_empty) {
        report.fate = recording_fate::empty;
        return;
    }
    report.fate = recording_fate::recoverable;
    report.pictures = found.tracks.pictures.sizes.size();
    report.dropped = found.dropped;
    report.sound_frames = found.tracks.sound.sizes.size();
    report.length_s = found.tracks.length_s();
    if (!options.is_dry_run) {
        const repair_way way = replace_recording(original, found.repair);
        report.fate = recording_fate::recovered;
        report.reason = way == repair_way::in_place ? "in place, no space for a copy" : "";
    }
}

void recover_opened(const original_file& original, const recover_options& options,
                    file_report& report) {
    byte_window file{original.file, static_cast<std::uint64_t>(original.status.st_size)};
    const outline outline = read_outline(file);
    switch (outline.kind) {
    case layout::complete:
        report.fate = recording_fate::complete;
        break;
    case layout::empty:
        report.fate = recording_fate::empty;
        break;
    case layout::foreign:
        report.fate = recording_fate::foreign;
        report.reason = "not written by the sight's recorder";
        break;
    case layout::unindexed:
        recover_incomplete(original, file, outline, options, report);
    }
}

// A process that has the file open may be completing it, so check that first.
void recover_unused(const work_folder& work, const std::string& name,
                    const recover_options& options, file_report& report) {
    const fd_owned file{
        openat(work.folder.get(), name.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK)};
    require_done(file.get(), "opening");
    original_file original{
        .folder = work.folder.get(), .file = file.get(), .name = name, .status = {}};
    require_done(fstat(file.get(), &original.status), "looking at it");
    if (!S_ISREG(original.status.st_mode)) {
        throw not_recoverable{"it is not a file"};
    }
    byte_window window{file.get(), static_cast<std::uint64_t>(original.status.st_size)};
    if (read_outline(window).kind == layout::complete) {
        return;
    }
    if (const std::optional<std::string> user = other_user_of(file.get())) {
        report.fate = recording_fate::in_use;
        report.reason = "by " + *user + ", left alone";
        return;
    }
    require_done(fstat(file.get(), &original.status), "looking at it");
    recover_opened(original, options, report);
}

void recover_file(const work_folder& work, const std::string& name,
                  const recover_options& options) {
    file_report report{.path = work.path / name};
    try {
        recover_unused(work, name, options, report);
    } catch (const std::runtime_error& error) { // failed calls and unrecoverable files
        report.fate = recording_fate::failed;
        report.reason = error.what();
    }
    options.report(report);
}

void recover_folder(const fs::path& path, const recover_options& options) {
    const work_folder work = open_folder(path);
    if (!options.is_dry_run) {
        remove_unfinished_copies(work);
    }
    for (const std::string& name : recordings_in(work.folder.get())) {
        recover_file(work, name, options);
    }
}

} // namespace

void recover_path(const std::string& path, const recover_options& options) {
    try {
        const fs::path real = fs::canonical(path); // resolve links: the target gets replaced
        if (fs::is_directory(real)) {
            recover_folder(real, options);
        } else {
            recover_file(open_folder(real.parent_path()), real.filename(), options);
        }
    } catch (const fs::filesystem_error& error) {
        options.report(
            {.path = path, .fate = recording_fate::failed, .reason = error.code().message()});
    } catch (const std::runtime_error& error) {
        options.report({.path = path, .fate = recording_fate::failed, .reason = error.what()});
    }
}

// Takes missing information from other recordings in the folder.
#include "recover/neighbours.h"

#include "recover/failed_call.h"
#include "recover/mp4_index.h"
#include "recover/outline.h"
#include "recover/slice_check.h"
#include "util/fd_owned.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>

namespace {

constexpr std::string_view SUFFIX = ".mp4";

// True for ordinary files; false for links and folders.
bool is_file(int folder, const std::string& name) {
    struct stat status {};
    return fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 &&
           S_ISREG(status.st_mode);
}

// Returns the tracks of a complete recording, or none.
std::optional<std::vector<indexed_track>> tracks_of(int folder, const std::string& name) {
    const fd_owned file{
        openat(folder, name.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK)};
    struct stat status {};
    if (!file || fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) {
        return std::nullopt;
    }
    byte_window window{file.get(), static_cast<std::uint64_t>(status.st_size)};
    const outline outline = read_outline(window);
    return outline.kind == layout::complete ? read_index(window, outline.index_start)
                                            : std::nullopt;
}

// "video_20240927093056_01.mp4" follows "video_20240927093056_00.mp4".
std::optional<std::string> file_before(const std::string& name) {
    if (!name.ends_with(SUFFIX)) {
        return std::nullopt;
    }
    const std::size_t end = name.size() - SUFFIX.size();
    const std::size_t begin = name.rfind('_', end) + 1;
    const std::string digits = name.substr(begin, end - begin);
    const bool is_number = !digits.empty() && digits.size() < 9 &&
                           digits.find_first_not_of("0123456789") == std::string::npos;
    if (begin == 0 || !is_number || std::stoul(digits) == 0) {
        return std::nullopt;
    }
    std::array<char, 16> number{};
    std::snprintf(number.data(), number.size(), "%02lu", std::stoul(digits) - 1);
    return name.substr(0, begin) + number.data() + std::string{SUFFIX};
}

std::optional<double> end_of(const std::vector<indexed_track>& tracks, std::uint32_t kind) {
    const auto found = std::ranges::find(tracks, kind, &indexed_track::kind);
    return found == tracks.end() ? std::nullopt : std::optional{found->end_s};
}

bool do_fit(byte_window& file, const scanned& found, const parameter_sets& sets) {
    constexpr std::uint32_t PICTURES_TO_CHECK = 64;
    slice_check check{sets};
    for (const sample_run& run : found.runs) {
        if (run.damage_before > 0 || run.first >= PICTURES_TO_CHECK) {
            break; // frame numbers have a gap after damage
        }
        std::uint64_t offset = run.offset;
        for (std::uint32_t i = 0; run.kind == sample_kind::picture && i < run.count; ++i) {
            const std::uint32_t size = found.picture_sizes[run.first + i];
            for_each_nal(file, offset, size, [&](byte_view nal) {
                if (is_slice(type_of_nal(nal[0]))) {
                    check.take(nal);
                }
            });
            offset += size;
        }
    }
    return check.fits();
}

// Sorts by distance: names before `name` from the last on, then those after it.
std::vector<std::string> by_nearness(std::vector<std::string> names, const std::string& name) {
    const auto middle = std::ranges::lower_bound(names, name);
    std::reverse(names.begin(), middle);
    std::erase(names, name);
    return names;
}

} // namespace

std::optional<double> offset_from_file_before(int folder, const std::string& name) {
    const std::optional<std::string> before = file_before(name);
    const auto tracks = before ? tracks_of(folder, *before) : std::nullopt;
    if (!tracks) {
        return std::nullopt;
    }
    const std::optional<double> pictures = end_of(*tracks, box_type("vide"));
    const std::optional<double> sound = end_of(*tracks, box_type("soun"));
    return pictures && sound ? std::optional{*pictures - *sound} : std::nullopt;
}

parameter_sets sets_of_neighbour(int folder, const std::string& name, byte_window& file,
                                 const scanned& found) {
    for (const std::string& other : by_nearness(recordings_in(folder), name)) {
        for (const indexed_track& track :
             tracks_of(folder, other).value_or(std::vector<indexed_track>{})) {
            parameter_sets sets = sets_of_config(track.decoder_config);
            if (sets.are_complete() && do_fit(file, found, sets)) {
                return sets;
            }
        }
    }
    return {};
}

std::vector<std::string> recordings_in(int folder) {
    std::vector<std::string> names;
    const int copy = openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    require_done(copy, "opening the folder");
    const std::unique_ptr<DIR, int (*)(DIR*)> entries{fdopendir(copy), closedir};
    if (entries == nullptr) {
        close(copy);
        return names;
    }
    while (const dirent* const entry = readdir(entries.get())) {
        const std::string name = entry->d_name;
        if (!name.starts_with('.') && name.ends_with(SUFFIX) && is_file(folder, name)) {
            names.push_back(name);
        }
    }
    std::ranges::sort(names);
    return names;
}

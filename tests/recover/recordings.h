// Recordings that the real daemon made on a simulated board, and what damage leaves of them.
#pragma once

#include "support/media.h"

#include <filesystem>
#include <random>
#include <string>
#include <vector>

// Contents of files. The pictures are numbered.
struct recordings {
    std::string before{};          // complete
    std::string whole{};           // the same recording's next file, complete, too
    std::string killed{};          // the one behind it: its daemon was killed while it was written
    std::string killed_pictures{}; // of pictures alone
    std::string killed_sound{};    // of sound alone
    media packets{};               // of `whole`
    std::vector<int> numbers{};    // of the pictures in `whole`
    std::size_t data_end = 0;      // of the media data in `whole`, where its index begins
};

// Names of the files of one recording.
inline constexpr const char* NAME_BEFORE = "video_20240927093056_00.mp4";
inline constexpr const char* NAME = "video_20240927093056_01.mp4";
inline constexpr const char* NAME_BEHIND = "video_20240927093056_02.mp4";

// Made once for all tests, in about a minute.
const recordings& all_recordings();

// The same without its index: what a muxer leaves that is killed before it begins to write one.
std::string without_index(const std::string& recording, std::size_t data_end);

// A recording of so many times the length of `whole`, without an index.
std::string long_recording(int times);

// `whole` without its index and without the parameter sets that come with its pictures.
std::string without_parameter_sets();

// --- Damage ----------------------------------------------------------------------------------

enum class damage_kind {
    cut_in_header,
    cut_in_picture,
    cut_in_sound,
    cut_in_index,
    zero_tail,
    missing_page,
    missing_pages,
};
inline constexpr int DAMAGE_KINDS = 7;

struct damaged_recording {
    std::string description; // for messages
    std::string contents;
    std::size_t end = 0;        // of the media data that are left
    std::size_t lost_start = 0; // zeroed bytes among them
    std::size_t lost_end = 0;

    // True when nothing of a packet is missing.
    [[nodiscard]] bool has(const media_packet& packet) const;
};

// Damages `whole` at a random place.
damaged_recording damage(damage_kind kind, std::mt19937& random);

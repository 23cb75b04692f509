// Recordings by the real daemon on a simulated board, and damaged versions.
#pragma once

#include "support/media.h"

#include <filesystem>
#include <random>
#include <string>
#include <vector>

// Contents of files. The pictures are numbered.
struct recordings {
    std::string before{};          // complete
    std::string whole{};           // the next file of the same recording, also complete
    std::string killed{};          // the file after that: the daemon was killed while writing it
    std::string killed_pictures{}; // pictures only
    std::string killed_sound{};    // sound only
    media packets{};               // packets of `whole`
    std::vector<int> numbers{};    // numbers of the pictures in `whole`
    std::size_t data_end = 0;      // end of the media data in `whole`, where its index begins
    bool kept_pace = false; // in `whole`, 2 % of the pictures at most were dropped, and none late
};

// Names of the files of one recording.
inline constexpr const char* NAME_BEFORE = "video_20240927093056_00.mp4";
inline constexpr const char* NAME = "video_20240927093056_01.mp4";
inline constexpr const char* NAME_BEHIND = "video_20240927093056_02.mp4";

// Made once for all tests, in about a minute; longer on a machine too busy to keep pace.
const recordings& all_recordings();

// `whole` without its index, as left by a muxer killed before it writes one.
std::string without_index(const std::string& recording, std::size_t data_end);

// `whole` repeated that many times, without an index.
std::string long_recording(int times);

// `whole` without its index and without its pictures' parameter sets.
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
    std::size_t end = 0;        // end of the remaining media data
    std::size_t lost_start = 0; // zeroed bytes in them
    std::size_t lost_end = 0;

    // True if the packet is complete.
    [[nodiscard]] bool has(const media_packet& packet) const;
};

// Damages `whole` at a random place.
damaged_recording damage(damage_kind kind, std::mt19937& random);

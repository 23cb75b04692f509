// Checks recordings and streams with ffprobe and ffmpeg.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

struct media_packet {
    double time;     // seconds
    double duration; // seconds
    bool key;
    std::uint64_t offset; // in the file
    std::uint32_t size;   // bytes
};

struct media_track {
    std::string codec;
    int width = 0;
    int height = 0;
    std::vector<media_packet> packets; // never empty

    [[nodiscard]] double start() const { return packets.front().time; }
    [[nodiscard]] double end() const { return packets.back().time + packets.back().duration; }
    [[nodiscard]] std::size_t key_packets() const;
};

struct media {
    std::optional<media_track> video;
    std::optional<media_track> audio;
};

// Returns the files of a folder, sorted by name.
std::vector<std::filesystem::path> files_in(const std::filesystem::path& folder);

// Returns a file's packets. Errors reported by ffprobe are test failures, and so are decreasing
// times.
media probe(const std::filesystem::path& file);

// Returns ffmpeg's errors when decoding the whole file; empty if it plays.
std::string complaints(const std::filesystem::path& file);

// --- Footage with numbered pictures ----------------------------------------------------------

inline constexpr int NUMBERED_PICTURES = 1024;

// Writes footage for the camera: 34 seconds of pictures with their number in stripes.
void write_numbered_footage(const std::filesystem::path& file);

// Returns the numbers of a recording's pictures.
std::vector<int> picture_numbers(const std::filesystem::path& file);

// Returns how many pictures a recording lacks.
struct left_out_pictures {
    int within_files = 0;
    int between_files = 0;
};

// Follows the numbers through a recording's files. Except for the very first, no picture may be
// repeated or early. The camera drops some if the machine is busy.
left_out_pictures follow_pictures(const std::vector<std::filesystem::path>& recorded);

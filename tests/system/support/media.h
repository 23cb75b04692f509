// Judging recordings and streams by what ffprobe and ffmpeg make of them.
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

// The files of a folder by name.
std::vector<std::filesystem::path> files_in(const std::filesystem::path& folder);

// What stands in a file, packet by packet. Anything that ffprobe complains of is a failure, and so
// are times that go back.
media probe(const std::filesystem::path& file);

// What ffmpeg complains of when it decodes the whole file; empty when it plays.
std::string complaints(const std::filesystem::path& file);

// --- Footage whose pictures are numbered -----------------------------------------------------

inline constexpr int NUMBERED_PICTURES = 1024;

// Writes footage for the camera: 34 seconds whose pictures carry their number in stripes.
void write_numbered_footage(const std::filesystem::path& file);

// The numbers of the pictures of a recording.
std::vector<int> picture_numbers(const std::filesystem::path& file);

// Pictures that a recording lacks.
struct left_out_pictures {
    int within_files = 0;
    int between_files = 0;
};

// Follows the numbers through the files of a recording. But for the very first, no picture may come
// twice or before its time. The camera leaves some out when the machine is busy.
left_out_pictures follow_pictures(const std::vector<std::filesystem::path>& recorded);

// A miniature muxer: interleaves pictures and sound like the recorder's, with known times.
#pragma once

#include "recover/sample_scan.h"

// Times of the pictures and MP3 frames given to the muxer.
struct stamped_sample {
    sample_kind kind;
    double time_s;
    std::uint32_t size;
    bool is_key;
};

struct footage {
    std::vector<double> pictures_s; // stamps
    std::vector<double> sounds_s;
    mp3_frame sound;
};

// Thirty pictures a second and sound of that rate for a given time; the first picture comes that
// much later than the first sound.
[[nodiscard]] footage even_footage(double length_s, std::uint32_t rate, double offset_s);

// All samples in writing order.
[[nodiscard]] std::vector<stamped_sample> mix(const footage& from);

// Result of a scan when a range of bytes is damaged: samples in it are lost.
struct byte_range {
    std::uint64_t start = 0;
    std::uint64_t end = 0;
};
[[nodiscard]] scanned scan_of(const std::vector<stamped_sample>& samples, const mp3_frame& sound,
                              const byte_range& damage = {});

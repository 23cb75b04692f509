// A muxer in miniature: mixes pictures and sound as the recorder's does, and tells what was when.
#pragma once

#include "recover/sample_scan.h"

// When a picture or an MP3 frame was, as the muxer was told.
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

// Pictures thirty a second and sound of that rate, for so long; the first picture that much later
// than the first sound.
[[nodiscard]] footage even_footage(double length_s, std::uint32_t rate, double offset_s);

// All samples in the order in which they are written.
[[nodiscard]] std::vector<stamped_sample> mix(const footage& from);

// What a scan finds of those samples when some bytes are damaged: a sample that lies in there is
// lost.
struct byte_range {
    std::uint64_t start = 0;
    std::uint64_t end = 0;
};
[[nodiscard]] scanned scan_of(const std::vector<stamped_sample>& samples, const mp3_frame& sound,
                              const byte_range& damage = {});

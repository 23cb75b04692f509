// Settings of the video core.
#pragma once

#include <cstdint>

// What is encoded.
inline constexpr std::int32_t ENC_TYPE_VIDEO_AND_AUDIO = 0;
inline constexpr std::int32_t ENC_TYPE_VIDEO = 1;
inline constexpr std::int32_t ENC_TYPE_AUDIO = 2;

// main fills one from the configuration; gstvideo_init copies it whole.
struct video_config {
    // As main fills it, the volume 0..100; in `configs`, the amplifier's factor (volume /
    // mic_scale).
    double mic_amplification = 0.0;
    std::int64_t record_max_len_ns = 0;
    std::int32_t record_enc_bitrate = 0; // kbit/s
    std::int32_t record_enc_gop = 0;     // frames
    std::int32_t record_enc_idr = 0;     // frames; carried, no element takes it
    std::int32_t record_enc_search_range = 0;
    std::int32_t aud_enc_bitrate = 0;    // kbit/s
    std::int32_t stream_enc_bitrate = 0; // kbit/s
    std::int32_t stream_enc_gop = 0;     // frames
    std::int32_t stream_enc_idr = 0;     // frames
    std::int32_t stream_enc_search_range = 0;
    std::int32_t enc_type = 0; // ENC_TYPE_*; a settings file may hold another
    std::int32_t profile = 0;  // non-zero: profiler element in the display pipe
};

// The video core's own copy, the only one read after gstvideo_init.
extern video_config configs;

// Volume that corresponds to an amplification factor of 1.
inline constexpr double mic_scale = 2.0;

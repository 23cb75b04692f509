// Settings of the video core and its encoding types.
#pragma once

#include "config/settings.h"

#include <cstdint>

// The sight's own scene and no-input picture.
inline constexpr const char* DEFAULT_OVERLAY_FILE = settings{}.qml_file;
inline constexpr const char* NO_INPUT_IMAGE = "/etc/no-video-input.png";

// Media that a branch can encode.
enum class medium { none, video, sound };

// Encoding types, as in commands and in the settings file.
inline constexpr std::int32_t ENC_TYPE_VIDEO_AND_AUDIO = 0;
inline constexpr std::int32_t ENC_TYPE_VIDEO = 1;
inline constexpr std::int32_t ENC_TYPE_AUDIO = 2;

[[nodiscard]] constexpr bool is_enc_type(std::int32_t enc_type) {
    return range_of(&settings::enc_type).holds(enc_type);
}

// True if the encoding type includes the medium.
[[nodiscard]] constexpr bool encodes(std::int32_t enc_type, medium what) {
    return what == medium::video ? enc_type != ENC_TYPE_AUDIO
                                 : what == medium::sound && enc_type != ENC_TYPE_VIDEO;
}

// Filled by main from the configuration, copied by gstvideo_init.
struct video_config {
    // From main, the volume 0..100; in `configs`, the amplification factor (volume / mic_scale).
    double mic_amplification = 0.0;
    std::int64_t record_max_len_ns = 0;
    std::int32_t record_enc_bitrate = 0; // kbit/s
    std::int32_t record_enc_gop = 0;     // frames
    std::int32_t record_enc_idr = 0;     // frames; no element uses it
    std::int32_t record_enc_search_range = 0;
    std::int32_t aud_enc_bitrate = 0;    // kbit/s
    std::int32_t stream_enc_bitrate = 0; // kbit/s
    std::int32_t stream_enc_gop = 0;     // frames
    std::int32_t stream_enc_idr = 0;     // frames
    std::int32_t stream_enc_search_range = 0;
    std::int32_t enc_type = 0; // ENC_TYPE_*; a settings file may contain other values
    std::int32_t profile = 0;  // non-zero: profiler element in the display pipe
};

// The video core's own copy, the only one used after gstvideo_init. Main thread only.
inline constinit video_config configs;

// Volume with an amplification factor of 1.
inline constexpr double mic_scale = 2.0;

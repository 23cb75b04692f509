// Parses the four-byte headers of MP3 frames.
#pragma once

#include "recover/big_endian.h"

#include <optional>

inline constexpr std::size_t MP3_HEADER_BYTES = 4;
inline constexpr std::uint32_t MP3_FRAME_SAMPLES = 1152;

struct mp3_frame {
    std::uint32_t size;      // bytes, including the header
    std::uint32_t rate;      // Hz
    unsigned channels;       // 1 or 2
    std::uint32_t signature; // header bits that all frames of a recording share
};

// Parses a frame header. None unless it is MPEG-1, layer III.
[[nodiscard]] std::optional<mp3_frame> read_mp3_frame(byte_view header);

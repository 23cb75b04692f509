// Detects the kind of a recording file: complete, or without an index.
#pragma once

#include "recover/mp4_boxes.h"

// A recording begins with 32 bytes of file type and 16 bytes at the start of the media data: an
// empty box, or the 64-bit length of the media data.
inline constexpr std::uint64_t FILE_TYPE_BYTES = 32;
inline constexpr std::uint64_t DATA_START = 48;

enum class layout {
    empty,     // no media data
    complete,  // with an index
    unindexed, // media data without a complete index
    foreign,   // from another muxer
};

struct outline {
    layout kind;
    std::uint64_t data_end = 0;    // end of the media data, for `unindexed` and `complete`
    std::uint64_t index_start = 0; // start of the index, for `complete`
};

[[nodiscard]] outline read_outline(byte_window& file);

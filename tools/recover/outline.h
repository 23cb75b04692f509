// What kind of file a recording is: complete, or without its index.
#pragma once

#include "recover/mp4_boxes.h"

// A recording begins with 32 bytes of file type and 16 that hold the beginning of the media data:
// an empty box before it, or its own length in 64 bits.
inline constexpr std::uint64_t FILE_TYPE_BYTES = 32;
inline constexpr std::uint64_t DATA_START = 48;

enum class layout {
    empty,     // no media data
    complete,  // with an index
    unindexed, // media data behind which there is no whole index
    foreign,   // from another muxer
};

struct outline {
    layout kind;
    std::uint64_t data_end = 0;    // of the media data, for `unindexed` and `complete`
    std::uint64_t index_start = 0; // of the index, for `complete`
};

[[nodiscard]] outline read_outline(byte_window& file);

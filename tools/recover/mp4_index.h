// The index of a completed MP4 file: whether it is whole, and what other recordings learn from it.
#pragma once

#include "recover/mp4_boxes.h"

struct indexed_track {
    std::uint32_t kind = 0; // "vide" or "soun" as a box type
    double end_s = 0;       // when it ends
    // What a decoder of its pictures has to know: the contents of the box "avcC".
    std::vector<std::uint8_t> decoder_config;
};

// Reads the index that begins there. None unless it is whole: storage that lost a part of it leaves
// its beginning alone, or zeros in it.
[[nodiscard]] std::optional<std::vector<indexed_track>> read_index(byte_window& file,
                                                                   std::uint64_t offset);

// Reads the index of a completed MP4 file: whether it is complete, and what other recordings can
// use.
#pragma once

#include "recover/mp4_boxes.h"

struct indexed_track {
    std::uint32_t kind = 0; // "vide" or "soun" as a box type
    double end_s = 0;       // time of its end
    // Decoder configuration of the pictures: the contents of the box "avcC".
    std::vector<std::uint8_t> decoder_config;
};

// Reads the index at that offset. None if it is incomplete: if storage lost a part of it, only the
// beginning exists or parts are zeros.
[[nodiscard]] std::optional<std::vector<indexed_track>> read_index(byte_window& file,
                                                                   std::uint64_t offset);

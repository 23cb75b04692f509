// What the parameter sets of an H.264 stream say, and what slices say in their terms.
#pragma once

#include "recover/nal.h"

struct sequence_set {
    std::uint32_t id = 0;
    std::uint32_t width = 0; // what is shown, in pixels
    std::uint32_t height = 0;
    std::uint32_t macroblocks = 0;
    unsigned frame_number_bits = 0;
    std::uint32_t order_type = 0; // how the order of pictures is told: 0 with so many bits
    unsigned order_bits = 0;
    bool has_fields = false;
    bool has_separate_planes = false;
    std::uint8_t chroma_format = 1;
    std::uint8_t luma_bits = 8;
    std::uint8_t chroma_bits = 8;
};

// None when it is not a sequence parameter set that makes sense.
[[nodiscard]] std::optional<sequence_set> read_sequence_set(byte_view nal);

struct picture_set {
    std::uint32_t id = 0;
    std::uint32_t sequence_id = 0;
};

// None when it is not a picture parameter set that makes sense, or has groups of slices.
[[nodiscard]] std::optional<picture_set> read_picture_set(byte_view nal);

// The numbers by which pictures follow one another.
struct slice_numbers {
    std::uint32_t frame;
    std::uint32_t next_frame; // of the next picture; one more where others refer to this one
    std::uint32_t order;      // with order type 0
};

// Takes the beginning of a slice that refers to that set.
[[nodiscard]] slice_numbers read_slice_numbers(byte_view nal, const sequence_set& sequence);

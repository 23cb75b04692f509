// Parses H.264 parameter sets, and slice headers with their help.
#pragma once

#include "recover/nal.h"

struct sequence_set {
    std::uint32_t id = 0;
    std::uint32_t width = 0; // visible pixels
    std::uint32_t height = 0;
    std::uint32_t macroblocks = 0;
    unsigned frame_number_bits = 0;
    std::uint32_t order_type = 0; // how picture order is coded: 0 with this number of bits
    unsigned order_bits = 0;
    bool has_fields = false;
    bool has_separate_planes = false;
    std::uint8_t chroma_format = 1;
    std::uint8_t luma_bits = 8;
    std::uint8_t chroma_bits = 8;
};

// None unless it is a valid sequence parameter set.
[[nodiscard]] std::optional<sequence_set> read_sequence_set(byte_view nal);

struct picture_set {
    std::uint32_t id = 0;
    std::uint32_t sequence_id = 0;
};

// None unless it is a valid picture parameter set without slice groups.
[[nodiscard]] std::optional<picture_set> read_picture_set(byte_view nal);

// Frame and order numbers, which show whether pictures are consecutive.
struct slice_numbers {
    std::uint32_t frame;
    std::uint32_t next_frame; // of the next picture: one more if this picture is a reference
    std::uint32_t order;      // with order type 0
};

// Parses the beginning of a slice that refers to that set.
[[nodiscard]] slice_numbers read_slice_numbers(byte_view nal, const sequence_set& sequence);

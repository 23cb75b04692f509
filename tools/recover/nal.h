// NAL units of an H.264 stream: which are plausible, and what their headers say.
#pragma once

#include "recover/big_endian.h"

#include <optional>

enum nal_type : std::uint8_t {
    NAL_SLICE = 1,
    NAL_IDR_SLICE = 5,
    NAL_SEI = 6,
    NAL_SEQUENCE_SET = 7,
    NAL_PICTURE_SET = 8,
    NAL_DELIMITER = 9,
    NAL_FILLER = 12,
};

// Of a NAL unit. The largest picture of 1024 x 768 that the standard allows has half of it.
inline constexpr std::uint32_t NAL_LENGTH_MAX = 2 * 1024 * 1024;
// So much of a slice tells whether its header is plausible.
inline constexpr std::size_t SLICE_HEADER_MAX = 16;

[[nodiscard]] constexpr nal_type type_of_nal(std::uint8_t first_byte) {
    return static_cast<nal_type>(first_byte & 0x1f);
}

[[nodiscard]] constexpr bool is_slice(nal_type type) {
    return type == NAL_SLICE || type == NAL_IDR_SLICE;
}

// True when a NAL unit of that length may begin with that byte.
[[nodiscard]] bool is_plausible_nal(std::uint8_t first_byte, std::uint32_t length);

// False when the NAL unit holds what an encoder never writes, such as three zero bytes.
[[nodiscard]] bool is_undamaged_nal(byte_view nal);

struct sequence_set {
    std::uint32_t id = 0;
    std::uint32_t width = 0; // what is shown, in pixels
    std::uint32_t height = 0;
    unsigned frame_number_bits = 0;
    bool has_separate_planes = false;
    std::uint8_t chroma_format = 1;
    std::uint8_t luma_bits = 8;
    std::uint8_t chroma_bits = 8;
};

// None when it is not a sequence parameter set that makes sense.
[[nodiscard]] std::optional<sequence_set> read_sequence_set(byte_view nal);

struct picture_set {
    std::uint32_t id;
    std::uint32_t sequence_id;
};

[[nodiscard]] std::optional<picture_set> read_picture_set(byte_view nal);

struct slice_header {
    std::uint32_t first_macroblock;
    std::uint32_t picture_set_id;
    std::uint32_t frame_number; // 0 when it was read without its sequence set
    bool is_intra;
};

// Reads a slice from its first bytes, SLICE_HEADER_MAX of them if it has so many. None for what
// this system's encoder does not write, B slices included.
[[nodiscard]] std::optional<slice_header> read_slice_header(byte_view nal,
                                                            const sequence_set* sequence = nullptr);

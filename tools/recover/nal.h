// NAL units of an H.264 stream: which are plausible, and how slices begin.
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
// Parameter sets are longer by few bytes only where they hold tables.
inline constexpr std::uint32_t PARAMETER_SET_MAX = 512;
inline constexpr std::uint32_t PICTURE_SET_IDS = 256;

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

struct slice_start {
    std::uint32_t first_macroblock;
    std::uint32_t picture_set_id;
    bool is_intra;
};

// So many bytes of a slice hold what is read of it.
inline constexpr std::size_t SLICE_START_MAX = 16;

// None for slices that the sight's encoder does not write, B slices included.
[[nodiscard]] std::optional<slice_start> read_slice_start(byte_view nal);

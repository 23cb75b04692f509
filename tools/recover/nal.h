// NAL units of an H.264 stream: plausibility checks, and the beginning of slices.
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

// Maximum length of a plausible NAL unit: twice the largest picture of 1024 x 768 that the standard
// allows.
inline constexpr std::uint32_t NAL_LENGTH_MAX = 2 * 1024 * 1024;
// Maximum length of a plausible parameter set. Most have only a few bytes.
inline constexpr std::uint32_t PARAMETER_SET_MAX = 512;
// Number of possible ids of picture parameter sets.
inline constexpr std::uint32_t PICTURE_SET_IDS = 256;

[[nodiscard]] constexpr nal_type type_of_nal(std::uint8_t first_byte) {
    return static_cast<nal_type>(first_byte & 0x1f);
}

[[nodiscard]] constexpr bool is_slice(nal_type type) {
    return type == NAL_SLICE || type == NAL_IDR_SLICE;
}

// True if a NAL unit of that length may begin with that byte.
[[nodiscard]] bool is_plausible_nal(std::uint8_t first_byte, std::uint32_t length);

// False if the NAL unit contains what an encoder never writes, such as a start code or three zero
// bytes in a row.
[[nodiscard]] bool is_undamaged_nal(byte_view nal);

struct slice_start {
    std::uint32_t first_macroblock;
    std::uint32_t picture_set_id;
    bool is_intra;
};

// Bytes of a slice that are needed to parse its beginning.
inline constexpr std::size_t SLICE_START_MAX = 16;

// Reads the first fields of a slice. Returns none if the NAL unit is no slice, is too short, or is
// a slice that the sight's encoder doesn't write, such as a B slice.
[[nodiscard]] std::optional<slice_start> read_slice_start(byte_view nal);

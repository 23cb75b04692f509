// NAL units of an H.264 stream: plausibility checks, and the beginning of slices.
#include "recover/nal.h"

#include "recover/bit_reader.h"

#include <algorithm>
#include <cstring>

bool is_plausible_nal(std::uint8_t first_byte, std::uint32_t length) {
    if ((first_byte & 0x80) != 0 || length < 2 || length > NAL_LENGTH_MAX) {
        return false;
    }
    const bool is_reference = (first_byte & 0x60) != 0;
    switch (type_of_nal(first_byte)) {
    case NAL_SLICE:
        return true;
    case NAL_IDR_SLICE:
        return is_reference;
    case NAL_SEQUENCE_SET:
    case NAL_PICTURE_SET:
        return is_reference && length <= PARAMETER_SET_MAX;
    case NAL_DELIMITER:
        return !is_reference && length == 2;
    case NAL_SEI:
    case NAL_FILLER:
        return !is_reference;
    default:
        return false;
    }
}

bool is_undamaged_nal(byte_view nal) {
    if (nal.empty() || nal.back() == 0) {
        return false;
    }
    // Start codes and runs of zeros have two consecutive zero bytes; memchr finds zeros fast.
    const std::uint8_t* at = nal.data();
    const std::uint8_t* const end = at + nal.size();
    while ((at = static_cast<const std::uint8_t*>(
                std::memchr(at, 0, static_cast<std::size_t>(end - at)))) != nullptr) {
        if (end - at > 2 && at[1] == 0 && at[2] < 3) {
            return false;
        }
        ++at;
    }
    return true;
}

std::optional<slice_start> read_slice_start(byte_view nal) {
    constexpr std::uint32_t SLICE_P = 0;
    constexpr std::uint32_t SLICE_I = 2;
    constexpr std::uint32_t SLICE_TYPES = 5; // doubled by the "all slices of the picture" variants
    if (nal.empty() || !is_slice(type_of_nal(nal[0]))) {
        return std::nullopt;
    }
    bit_reader in{nal.subspan(1, std::min(nal.size(), SLICE_START_MAX) - 1)};
    const std::uint32_t first_macroblock = in.ue();
    const std::uint32_t code = in.ue();
    const std::uint32_t type = code % SLICE_TYPES;
    const slice_start slice{.first_macroblock = first_macroblock,
                            .picture_set_id = in.ue(),
                            .is_intra = type == SLICE_I};
    const bool is_possible = code < 2 * SLICE_TYPES && (type == SLICE_P || type == SLICE_I) &&
                             slice.picture_set_id < PICTURE_SET_IDS &&
                             (slice.is_intra || type_of_nal(nal[0]) != NAL_IDR_SLICE);
    return !in.is_past_end() && is_possible ? std::optional{slice} : std::nullopt;
}

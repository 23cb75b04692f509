// NAL units of an H.264 stream: which are plausible, and what their headers say.
#include "recover/nal.h"

#include "recover/bit_reader.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace {

constexpr std::uint32_t PARAMETER_SET_MAX = 512;
constexpr std::uint32_t SIDE_MAX = 8192; // pixels
constexpr std::uint32_t SEQUENCE_SET_IDS = 32;
constexpr std::uint32_t PICTURE_SET_IDS = 256;

// Profiles whose sequence sets say more about colours.
constexpr std::array<std::uint32_t, 9> HIGH_PROFILES{100, 110, 122, 244, 44, 83, 86, 118, 128};

void skip_scaling_list(bit_reader& in, unsigned size) {
    std::int32_t last = 8;
    std::int32_t next = 8;
    for (unsigned i = 0; i < size && !in.is_past_end(); ++i) {
        if (next != 0) {
            next = (last + in.se() % 256 + 256) % 256;
        }
        last = next == 0 ? last : next;
    }
}

void read_colours(bit_reader& in, sequence_set& set) {
    set.chroma_format = static_cast<std::uint8_t>(std::min(in.ue(), 4U));
    set.has_separate_planes = set.chroma_format == 3 && in.flag();
    set.luma_bits = static_cast<std::uint8_t>(8 + std::min(in.ue(), 6U));
    set.chroma_bits = static_cast<std::uint8_t>(8 + std::min(in.ue(), 6U));
    in.flag(); // lossless
    if (!in.flag()) {
        return;
    }
    const unsigned lists = set.chroma_format == 3 ? 12 : 8;
    for (unsigned list = 0; list < lists; ++list) {
        if (in.flag()) {
            skip_scaling_list(in, list < 6 ? 16 : 64);
        }
    }
}

void skip_picture_order(bit_reader& in) {
    const std::uint32_t type = in.ue();
    if (type == 0) {
        in.ue();
    } else if (type == 1) {
        in.flag();
        in.se();
        in.se();
        for (std::uint32_t left = in.ue(); left > 0 && !in.is_past_end(); --left) {
            in.se();
        }
    }
}

// What is shown of the coded picture, along one side.
std::uint32_t cropped(std::uint32_t side, std::uint32_t before, std::uint32_t after,
                      std::uint32_t unit) {
    const std::uint64_t cut = (std::uint64_t{before} + after) * unit;
    return cut < side ? side - static_cast<std::uint32_t>(cut) : 0;
}

void read_size(bit_reader& in, sequence_set& set) {
    const std::uint32_t columns = std::min(in.ue(), SIDE_MAX) + 1;
    const std::uint32_t rows = std::min(in.ue(), SIDE_MAX) + 1;
    const std::uint32_t fields = in.flag() ? 1 : 2;
    if (fields == 2) {
        in.flag();
    }
    in.flag(); // direct inference
    set.width = columns * 16;
    set.height = rows * 16 * fields;
    if (in.flag()) {
        const bool is_halved = set.chroma_format == 1 || set.chroma_format == 2;
        const std::uint32_t unit_x = is_halved ? 2 : 1;
        const std::uint32_t unit_y = (set.chroma_format == 1 ? 2 : 1) * fields;
        const std::uint32_t left = in.ue();
        const std::uint32_t right = in.ue();
        const std::uint32_t top = in.ue();
        const std::uint32_t bottom = in.ue();
        set.width = cropped(set.width, left, right, unit_x);
        set.height = cropped(set.height, top, bottom, unit_y);
    }
}

bool is_sensible(const sequence_set& set) {
    return set.id < SEQUENCE_SET_IDS && set.width > 0 && set.width <= SIDE_MAX && set.height > 0 &&
           set.height <= SIDE_MAX && set.frame_number_bits <= 16 && set.chroma_format <= 3;
}

bool is_type(byte_view nal, nal_type type) {
    return !nal.empty() && type_of_nal(nal[0]) == type &&
           is_plausible_nal(nal[0], static_cast<std::uint32_t>(nal.size()));
}

} // namespace

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
    // Each start code and each run of zeros has two zero bytes, which memchr finds fast.
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

std::optional<sequence_set> read_sequence_set(byte_view nal) {
    if (!is_type(nal, NAL_SEQUENCE_SET)) {
        return std::nullopt;
    }
    bit_reader in{nal.subspan(1)};
    sequence_set set{};
    const std::uint32_t profile = in.bits(8);
    in.bits(16); // constraints and level
    set.id = in.ue();
    if (std::ranges::find(HIGH_PROFILES, profile) != HIGH_PROFILES.end()) {
        read_colours(in, set);
    }
    set.frame_number_bits = std::min(in.ue(), 13U) + 4;
    skip_picture_order(in);
    in.ue(); // reference frames
    in.flag();
    read_size(in, set);
    return !in.is_past_end() && is_sensible(set) ? std::optional{set} : std::nullopt;
}

std::optional<picture_set> read_picture_set(byte_view nal) {
    if (!is_type(nal, NAL_PICTURE_SET)) {
        return std::nullopt;
    }
    bit_reader in{nal.subspan(1)};
    const picture_set set{.id = in.ue(), .sequence_id = in.ue()};
    const bool is_known = set.id < PICTURE_SET_IDS && set.sequence_id < SEQUENCE_SET_IDS;
    return !in.is_past_end() && is_known ? std::optional{set} : std::nullopt;
}

std::optional<slice_header> read_slice_header(byte_view nal, const sequence_set* sequence) {
    constexpr std::uint32_t SLICE_P = 0;
    constexpr std::uint32_t SLICE_I = 2;
    constexpr std::uint32_t SLICE_TYPES = 5; // and as many again for "all slices of the picture"
    if (nal.empty() || !is_slice(type_of_nal(nal[0]))) {
        return std::nullopt;
    }
    bit_reader in{nal.subspan(1, std::min(nal.size(), SLICE_HEADER_MAX) - 1)};
    slice_header header{};
    header.first_macroblock = in.ue();
    const std::uint32_t code = in.ue();
    const std::uint32_t type = code % SLICE_TYPES;
    header.picture_set_id = in.ue();
    if (sequence != nullptr) {
        in.bits(sequence->has_separate_planes ? 2 : 0);
        header.frame_number = in.bits(sequence->frame_number_bits);
    }
    header.is_intra = type == SLICE_I;
    const bool is_possible = code < 2 * SLICE_TYPES && (type == SLICE_P || type == SLICE_I) &&
                             header.picture_set_id < PICTURE_SET_IDS &&
                             (header.is_intra || type_of_nal(nal[0]) != NAL_IDR_SLICE);
    return !in.is_past_end() && is_possible ? std::optional{header} : std::nullopt;
}

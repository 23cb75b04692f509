// Parses H.264 parameter sets, and slice headers with their help.
#include "recover/parameter_set_syntax.h"

#include "recover/bit_reader.h"

#include <algorithm>
#include <array>

namespace {

constexpr std::uint32_t SIDE_MAX = 8192; // pixels
constexpr std::uint32_t SEQUENCE_SET_IDS = 32;

// Profiles whose sequence sets have additional colour fields.
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

void read_picture_order(bit_reader& in, sequence_set& set) {
    set.order_type = std::min(in.ue(), 3U);
    if (set.order_type == 0) {
        set.order_bits = std::min(in.ue(), 13U) + 4;
    } else if (set.order_type == 1) {
        in.flag(); // always zero
        in.se();
        in.se();
        for (std::uint32_t left = in.ue(); left > 0 && !in.is_past_end(); --left) {
            in.se();
        }
    }
}

// Returns the visible length of one side.
std::uint32_t cropped(std::uint32_t side, std::uint32_t before, std::uint32_t after,
                      std::uint32_t unit) {
    const std::uint64_t cut = (std::uint64_t{before} + after) * unit;
    return cut < side ? side - static_cast<std::uint32_t>(cut) : 0;
}

void read_size(bit_reader& in, sequence_set& set) {
    const std::uint32_t columns = std::min(in.ue(), SIDE_MAX) + 1;
    const std::uint32_t rows = std::min(in.ue(), SIDE_MAX) + 1;
    set.has_fields = !in.flag();
    const std::uint32_t fields = set.has_fields ? 2 : 1;
    if (set.has_fields) {
        in.flag();
    }
    in.flag(); // direct inference
    set.width = columns * 16;
    set.height = rows * 16 * fields;
    set.macroblocks = columns * rows * fields;
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
           set.height <= SIDE_MAX && set.frame_number_bits <= 16 && set.order_type <= 2 &&
           set.order_bits <= 16 && set.chroma_format <= 3;
}

bool is_type(byte_view nal, nal_type type) {
    return !nal.empty() && type_of_nal(nal[0]) == type &&
           is_plausible_nal(nal[0], static_cast<std::uint32_t>(nal.size()));
}

} // namespace

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
    read_picture_order(in, set);
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
    in.bits(2); // entropy coding, order of fields
    const std::uint32_t further_groups = in.ue();
    const bool is_sensible =
        set.id < PICTURE_SET_IDS && set.sequence_id < SEQUENCE_SET_IDS && further_groups == 0;
    return !in.is_past_end() && is_sensible ? std::optional{set} : std::nullopt;
}

slice_numbers read_slice_numbers(byte_view nal, const sequence_set& sequence) {
    constexpr std::size_t BYTES_TO_READ = 32; // enough for the numbers and the fields before them
    const bool is_reference = (nal[0] & 0x60) != 0;
    bit_reader in{nal.subspan(1, std::min(nal.size(), BYTES_TO_READ) - 1)};
    for (int i = 0; i < 3; ++i) { // first macroblock, type, picture set
        in.ue();
    }
    in.bits(sequence.has_separate_planes ? 2 : 0);
    slice_numbers numbers{
        .frame = in.bits(sequence.frame_number_bits), .next_frame = 0, .order = 0};
    numbers.next_frame =
        (numbers.frame + (is_reference ? 1U : 0U)) & ((1U << sequence.frame_number_bits) - 1);
    if (sequence.has_fields && in.flag()) {
        in.flag(); // bottom
    }
    if (type_of_nal(nal[0]) == NAL_IDR_SLICE) {
        in.ue(); // number of the IDR picture
    }
    if (sequence.order_type == 0) {
        numbers.order = in.bits(sequence.order_bits);
    }
    return numbers;
}

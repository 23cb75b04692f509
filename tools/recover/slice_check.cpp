// Whether parameter sets fit slices that came without any.
#include "recover/slice_check.h"

#include "recover/bit_reader.h"

#include <algorithm>

namespace {

// More than any header has, and the first macroblock.
constexpr std::size_t BYTES_TO_READ = 128;
constexpr std::uint32_t LIST_MAX = 33; // commands in one of a header's lists

struct slice_reading {
    bit_reader in;
    const sequence_set& sequence;
    const picture_set& picture;
    bool is_idr;
    bool is_reference;
    bool is_intra;
    bool is_field = false;
    std::uint32_t frame_number = 0;
    std::uint32_t order = 0;
    std::uint32_t references = 0;
};

void read_identity(slice_reading& slice) {
    bit_reader& in = slice.in;
    in.ue(); // first macroblock
    slice.is_intra = in.ue() % 5 == 2;
    in.ue(); // picture set
    in.bits(slice.sequence.has_separate_planes ? 2 : 0);
    slice.frame_number = in.bits(slice.sequence.frame_number_bits);
    if (slice.sequence.has_fields) {
        slice.is_field = in.flag();
        in.bits(slice.is_field ? 1 : 0);
    }
}

// Each answers false when a number is out of range.

bool read_order(slice_reading& slice) {
    bit_reader& in = slice.in;
    const bool has_bottom = slice.picture.has_bottom_order && !slice.is_field;
    const bool is_idr_id_possible = !slice.is_idr || in.ue() <= UINT16_MAX;
    if (slice.sequence.order_type == 0) {
        slice.order = in.bits(slice.sequence.order_bits);
        has_bottom ? in.se() : 0;
    } else if (slice.sequence.order_type == 1 && slice.sequence.has_order_deltas) {
        in.se();
        has_bottom ? in.se() : 0;
    }
    return is_idr_id_possible && (!slice.picture.has_redundancy || in.ue() <= INT8_MAX);
}

// Changes of the order in which other pictures are referred to.
bool read_references(slice_reading& slice) {
    constexpr std::uint32_t END_OF_LIST = 3;
    bit_reader& in = slice.in;
    if (slice.is_intra) {
        return true;
    }
    slice.references = in.flag() ? in.ue() + 1 : slice.picture.references;
    if (in.flag()) {
        std::uint32_t command = in.ue();
        for (std::uint32_t i = 0; command != END_OF_LIST; ++i, command = in.ue()) {
            if (command > END_OF_LIST || i == LIST_MAX) {
                return false;
            }
            in.ue();
        }
    }
    return slice.references < LIST_MAX;
}

void skip_weights(bit_reader& in, unsigned planes) {
    if (in.flag()) {
        for (unsigned i = 0; i < 2 * planes; ++i) {
            in.se();
        }
    }
}

bool read_weights(slice_reading& slice) {
    constexpr std::uint32_t DENOMINATOR_MAX = 7;
    bit_reader& in = slice.in;
    if (slice.is_intra || !slice.picture.has_weights) {
        return true;
    }
    const bool has_colours = slice.sequence.chroma_format != 0;
    const bool is_possible =
        in.ue() <= DENOMINATOR_MAX && (!has_colours || in.ue() <= DENOMINATOR_MAX);
    for (std::uint32_t i = 0; i < slice.references && !in.is_past_end(); ++i) {
        skip_weights(in, 1);
        if (has_colours) {
            skip_weights(in, 2);
        }
    }
    return is_possible;
}

// What becomes of pictures that were referred to.
bool read_marking(slice_reading& slice) {
    constexpr std::uint32_t COMMANDS = 7;
    constexpr std::uint32_t FORGET_LONG_TERM = 3; // the one with two numbers
    constexpr std::uint32_t FORGET_ALL = 5;       // the one with none
    bit_reader& in = slice.in;
    if (!slice.is_reference) {
        return true;
    }
    if (slice.is_idr) {
        in.bits(2);
        return true;
    }
    if (!in.flag()) {
        return true;
    }
    std::uint32_t command = in.ue();
    for (std::uint32_t i = 0; command != 0; ++i, command = in.ue()) {
        if (command >= COMMANDS || i == LIST_MAX) {
            return false;
        }
        command == FORGET_ALL ? 0 : in.ue();
        command == FORGET_LONG_TERM ? in.ue() : 0;
    }
    return true;
}

bool read_quality(slice_reading& slice) {
    constexpr std::int32_t QUANTISER_MAX = 51;
    constexpr std::int32_t FILTER_MAX = 6;
    constexpr std::uint32_t NO_FILTER = 1;
    bit_reader& in = slice.in;
    if (slice.picture.is_arithmetic && !slice.is_intra && in.ue() > 2) {
        return false;
    }
    const std::int32_t quantiser = slice.picture.quantiser + in.se();
    bool is_possible = quantiser >= 0 && quantiser <= QUANTISER_MAX;
    if (slice.picture.has_deblocking) {
        const std::uint32_t filter = in.ue();
        is_possible = is_possible && filter <= 2;
        for (int i = 0; i < 2 && filter != NO_FILTER; ++i) {
            const std::int32_t strength = in.se();
            is_possible = is_possible && strength >= -FILTER_MAX && strength <= FILTER_MAX;
        }
    }
    return is_possible;
}

// Arithmetic coding begins at a whole byte, after ones. Other coding says how many macroblocks are
// left out, and of which type the first one is.
bool read_first_macroblock(slice_reading& slice) {
    constexpr std::uint32_t TYPES_INTRA = 26;
    constexpr std::uint32_t TYPES = 31;
    bit_reader& in = slice.in;
    if (slice.picture.is_arithmetic) {
        const unsigned rest = in.rest_of_byte();
        return in.bits(rest) == (1U << rest) - 1;
    }
    const std::uint32_t left_out = slice.is_intra ? 0 : in.ue();
    if (left_out >= slice.sequence.macroblocks) {
        return left_out == slice.sequence.macroblocks;
    }
    return in.ue() < (slice.is_intra ? TYPES_INTRA : TYPES);
}

} // namespace

void slice_check::take(byte_view nal) {
    const std::optional<slice_start> start = read_slice_start(nal);
    const picture_set* const picture = start ? sets_.picture_of(start->picture_set_id) : nullptr;
    const sequence_set* const sequence = start ? sets_.sequence_of(start->picture_set_id) : nullptr;
    if (picture == nullptr || sequence == nullptr) {
        fits_ = false;
        return;
    }
    slice_reading slice{.in = bit_reader{nal.subspan(1, std::min(nal.size(), BYTES_TO_READ) - 1)},
                        .sequence = *sequence,
                        .picture = *picture,
                        .is_idr = type_of_nal(nal[0]) == NAL_IDR_SLICE,
                        .is_reference = (nal[0] & 0x60) != 0,
                        .is_intra = start->is_intra};
    read_identity(slice);
    fits_ = fits_ && start->first_macroblock < sequence->macroblocks && read_order(slice) &&
            read_references(slice) && read_weights(slice) && read_marking(slice) &&
            read_quality(slice) && read_first_macroblock(slice);
    if (fits_ && start->first_macroblock == 0) {
        fits_ =
            goes_on(slice.is_idr, slice.is_reference, slice.frame_number, slice.order, *sequence);
    }
}

// The frame number grows by one behind each picture that others refer to, the order by one or two
// with each picture; both begin at 0 in an IDR picture.
bool slice_check::goes_on(bool is_idr, bool is_reference, std::uint32_t frame_number,
                          std::uint32_t order, const sequence_set& sequence) {
    if (is_idr) {
        frame_number_ = 0;
        order_.reset();
    }
    const std::uint32_t order_step =
        (order - order_.value_or(0)) & ((1U << sequence.order_bits) - 1);
    const bool is_in_order =
        is_idr ? order == 0
               : !order_ || sequence.order_type != 0 || (order_step > 0 && order_step <= 2);
    const bool is_expected = !frame_number_ || *frame_number_ == frame_number;
    order_ = order;
    frame_number_ =
        (frame_number + (is_reference ? 1U : 0U)) & ((1U << sequence.frame_number_bits) - 1);
    return is_in_order && is_expected;
}

// Checks whether parameter sets fit slices that came without any.
#include "recover/slice_check.h"

void slice_check::take(byte_view nal) {
    const std::optional<slice_start> start = read_slice_start(nal);
    const sequence_set* const sequence = start ? sets_.sequence_of(start->picture_set_id) : nullptr;
    if (sequence == nullptr || start->first_macroblock >= sequence->macroblocks) {
        fits_ = false;
    } else if (start->first_macroblock == 0) {
        fits_ = fits_ && goes_on(nal, *sequence);
    }
}

// The frame number increases by one after each reference picture, the order number by one or two
// with each picture; both restart at 0 in an IDR picture.
bool slice_check::goes_on(byte_view nal, const sequence_set& sequence) {
    const bool is_idr = type_of_nal(nal[0]) == NAL_IDR_SLICE;
    const slice_numbers now = read_slice_numbers(nal, sequence);
    if (is_idr) {
        frame_number_ = 0;
        order_.reset();
    }
    const std::uint32_t order_step =
        (now.order - order_.value_or(0)) & ((1U << sequence.order_bits) - 1);
    const bool is_in_order =
        is_idr ? now.order == 0
               : !order_ || sequence.order_type != 0 || (order_step > 0 && order_step <= 2);
    const bool is_expected = !frame_number_ || *frame_number_ == now.frame;
    order_ = now.order;
    frame_number_ = now.next_frame;
    return is_in_order && is_expected;
}

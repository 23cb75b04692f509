// What every live source with a gate does alike: it is flushed and ended through the gate.
#pragma once

#include "source_gate.h"

#include <gst/base/gstpushsrc.h>

namespace sim {

// For the class_init of a GstPushSrc whose instances hold their source_gate as `state.gate`.
template <typename Source> void end_and_flush_through_gate(gpointer klass) {
    static constexpr auto gate_of = [](gpointer source) -> source_gate& {
        return static_cast<Source*>(source)->state.gate;
    };
    auto* base = GST_BASE_SRC_CLASS(klass);
    base->unlock = [](GstBaseSrc* source) noexcept -> gboolean {
        gate_of(source).set_flushing(true);
        return TRUE;
    };
    base->unlock_stop = [](GstBaseSrc* source) noexcept -> gboolean {
        gate_of(source).set_flushing(false);
        return TRUE;
    };
    GST_ELEMENT_CLASS(klass)->send_event = [](GstElement* source, GstEvent* event) noexcept {
        auto* const parent = GST_ELEMENT_CLASS(g_type_class_peek(GST_TYPE_PUSH_SRC));
        return gate_of(source).takes(event) ? TRUE : parent->send_event(source, event);
    };
}

// For its instance_init: it delivers while playing, with stamps in running time.
inline void make_live(gpointer source) {
    gst_base_src_set_live(GST_BASE_SRC(source), TRUE);
    gst_base_src_set_format(GST_BASE_SRC(source), GST_FORMAT_TIME);
}

} // namespace sim

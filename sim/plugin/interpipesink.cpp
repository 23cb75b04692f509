// interpipesink: publishes its stream to every interpipesrc that listens to its element name.
#include "element_class.h"
#include "elements.h"
#include "interpipe.h"

#include <gst/base/gstbasesink.h>
#include <gst/video/video.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <string>

using sim::channel;
using sim::flow_item;

namespace {

enum property : guint { prop_max_buffers = 1 };

struct sink_state {
    std::atomic<guint> max_buffers = 0;
    std::mutex mutex; // caps and wiring: state changes and the streaming thread
    gst_owned<GstCaps> caps;
    std::shared_ptr<channel> out;
};

struct SimInterpipeSink {
    GstBaseSink parent;
    sink_state state;
};

struct SimInterpipeSinkClass {
    GstBaseSinkClass parent_class;
};

} // namespace

G_DEFINE_TYPE(SimInterpipeSink, sim_interpipesink, GST_TYPE_BASE_SINK)

namespace {

// A stream whose stamps stem from another pipe's base time may lie minutes ahead of this pipe's
// clock. Waiting for that moment would stall all listeners, so only leads up to this one are kept.
constexpr GstClockTime max_lead = GST_SECOND;

SimInterpipeSink* self_of(gpointer object) {
    return static_cast<SimInterpipeSink*>(object);
}

// The stamp in running time; none when it lies before the segment.
GstClockTime to_running_time(const GstSegment& segment, GstClockTime stamp) {
    if (segment.format != GST_FORMAT_TIME || !GST_CLOCK_TIME_IS_VALID(stamp)) {
        return stamp;
    }
    guint64 running = 0;
    const gint sign = gst_segment_to_running_time_full(&segment, GST_FORMAT_TIME, stamp, &running);
    return sign > 0 ? running : GST_CLOCK_TIME_NONE;
}

// The same memory under running-time stamps; the very buffer where they are the same.
gst_owned<GstBuffer> in_running_time(const GstSegment& segment, GstBuffer* buffer) {
    const GstClockTime pts = to_running_time(segment, GST_BUFFER_PTS(buffer));
    const GstClockTime dts = to_running_time(segment, GST_BUFFER_DTS(buffer));
    if (pts == GST_BUFFER_PTS(buffer) && dts == GST_BUFFER_DTS(buffer)) {
        return own_shared(buffer);
    }
    gst_owned<GstBuffer> stamped(gst_buffer_copy(buffer));
    GST_BUFFER_PTS(stamped.get()) = pts;
    GST_BUFFER_DTS(stamped.get()) = dts;
    return stamped;
}

gboolean start(GstBaseSink* base) noexcept {
    sink_state& state = self_of(base)->state;
    const g_text name(gst_object_get_name(GST_OBJECT(base)));
    const std::scoped_lock lock(state.mutex);
    state.out = sim::find_channel(name.get());
    state.out->attach(GST_ELEMENT(base));
    return TRUE;
}

gboolean stop(GstBaseSink* base) noexcept {
    sink_state& state = self_of(base)->state;
    const std::scoped_lock lock(state.mutex);
    state.out->detach(GST_ELEMENT(base));
    state.out.reset();
    state.caps.reset();
    return TRUE;
}

gboolean set_caps(GstBaseSink* base, GstCaps* caps) noexcept {
    sink_state& state = self_of(base)->state;
    const std::scoped_lock lock(state.mutex);
    state.caps = own_shared(caps);
    return TRUE;
}

GstFlowReturn render(GstBaseSink* base, GstBuffer* buffer) noexcept {
    sink_state& state = self_of(base)->state;
    flow_item item{in_running_time(base->segment, buffer), nullptr,
                   gst_element_get_base_time(GST_ELEMENT(base))};
    std::shared_ptr<channel> out;
    {
        const std::scoped_lock lock(state.mutex);
        item.caps = state.caps ? own_shared(state.caps.get()) : nullptr;
        out = state.out;
    }
    if (out && out->publish(GST_ELEMENT(base), item, state.max_buffers)) {
        gst_pad_push_event(GST_BASE_SINK_PAD(base), gst_video_event_new_upstream_force_key_unit(
                                                        GST_CLOCK_TIME_NONE, TRUE, 0));
    }
    return GST_FLOW_OK;
}

void get_times(GstBaseSink* base, GstBuffer* buffer, GstClockTime* start_time,
               GstClockTime* end_time) noexcept {
    GST_BASE_SINK_CLASS(sim_interpipesink_parent_class)
        ->get_times(base, buffer, start_time, end_time);
    const GstClockTime due = to_running_time(base->segment, *start_time);
    const GstClockTime now = gst_element_get_current_running_time(GST_ELEMENT(base));
    if (GST_CLOCK_TIME_IS_VALID(due) && GST_CLOCK_TIME_IS_VALID(now) && due > now + max_lead) {
        *start_time = *end_time = GST_CLOCK_TIME_NONE;
    }
}

void set_property(GObject* object, guint id, const GValue* value, GParamSpec* spec) noexcept {
    if (id == prop_max_buffers) {
        self_of(object)->state.max_buffers = g_value_get_uint(value);
    } else {
        G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, spec);
    }
}

void get_property(GObject* object, guint id, GValue* value, GParamSpec* spec) noexcept {
    if (id == prop_max_buffers) {
        g_value_set_uint(value, self_of(object)->state.max_buffers);
    } else {
        G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, spec);
    }
}

void finalize(GObject* object) noexcept {
    std::destroy_at(&self_of(object)->state);
    G_OBJECT_CLASS(sim_interpipesink_parent_class)->finalize(object);
}

} // namespace

static void sim_interpipesink_init(SimInterpipeSink* self) {
    std::construct_at(&self->state);
}

static void sim_interpipesink_class_init(SimInterpipeSinkClass* klass) {
    auto* object = G_OBJECT_CLASS(klass);
    object->set_property = set_property;
    object->get_property = get_property;
    object->finalize = finalize;
    g_object_class_install_property(
        object, prop_max_buffers,
        g_param_spec_uint("max-buffers", "Max buffers",
                          "Buffers that may wait for a listener (0: no limit)", 0, G_MAXUINT, 0,
                          sim::property_flags));

    auto* element = GST_ELEMENT_CLASS(klass);
    sim::describe(element, "Inter-pipe sink", "Generic/Sink", "Publishes a stream by its name");
    sim::add_pad(element, GST_PAD_SINK, "ANY");

    auto* sink = GST_BASE_SINK_CLASS(klass);
    sink->start = start;
    sink->stop = stop;
    sink->set_caps = set_caps;
    sink->render = render;
    sink->get_times = get_times;
}

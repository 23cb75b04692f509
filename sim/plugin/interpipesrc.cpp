// interpipesrc: delivers what the interpipesink named by "listen-to" publishes, at its own pace.
#include "element_class.h"
#include "elements.h"
#include "interpipe.h"

#include <gst/base/gstpushsrc.h>
#include <gst/video/video.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <string>

GST_DEBUG_CATEGORY_STATIC(interpipesrc_debug);
#define GST_CAT_DEFAULT interpipesrc_debug

using sim::channel;
using sim::flow_item;
using sim::wake;

namespace {

enum property : guint {
    prop_listen_to = 1,
    prop_allow_renegotiation,
    prop_stream_sync,
    prop_format,
    prop_is_live,
};

enum stream_sync : gint {
    sync_pass_through = 0, // running times as the producer's pipe has them
    sync_compensate = 1,   // the same moment in the running time of this pipe
};

struct source_state {
    std::atomic<bool> allow_renegotiation = true;
    std::atomic<gint> stream_sync = sync_pass_through;
    std::shared_ptr<sim::listener> in = std::make_shared<sim::listener>();
    std::mutex mutex; // what follows: state changes, properties and upstream events
    std::string listen_to;
    std::shared_ptr<channel> from;
    bool running = false;
};

struct SimInterpipeSrc {
    GstPushSrc parent;
    source_state state;
};

struct SimInterpipeSrcClass {
    GstPushSrcClass parent_class;
};

} // namespace

G_DEFINE_TYPE(SimInterpipeSrc, sim_interpipesrc, GST_TYPE_PUSH_SRC)

namespace {

SimInterpipeSrc* self_of(gpointer object) {
    return static_cast<SimInterpipeSrc*>(object);
}

GType stream_sync_type() {
    static const GEnumValue values[] = {
        {sync_pass_through, "Pass time stamps through", "pass-through"},
        {sync_compensate, "Compensate the difference of the pipes' base times", "compensate"},
        {0, nullptr, nullptr},
    };
    static const GType type = g_enum_register_static("SimInterpipeStreamSync", values);
    return type;
}

// Both with the state's mutex held.
void disconnect(source_state& state) {
    if (state.from) {
        state.from->remove(state.in.get());
        state.from.reset();
    }
}

void connect(source_state& state) {
    disconnect(state);
    if (state.running && !state.listen_to.empty()) {
        state.in->expect_new_stream();
        state.from = sim::find_channel(state.listen_to);
        state.from->add(state.in);
    }
}

void listen_to(source_state& state, const std::string& name) {
    const std::scoped_lock lock(state.mutex);
    state.listen_to = name;
    connect(state);
}

gboolean start(GstBaseSrc* base) noexcept {
    source_state& state = self_of(base)->state;
    const std::scoped_lock lock(state.mutex);
    state.in->gate().open();
    state.running = true;
    connect(state);
    return TRUE;
}

gboolean stop(GstBaseSrc* base) noexcept {
    source_state& state = self_of(base)->state;
    const std::scoped_lock lock(state.mutex);
    state.running = false;
    disconnect(state);
    state.in->clear();
    return TRUE;
}

gboolean unlock(GstBaseSrc* base) noexcept {
    self_of(base)->state.in->gate().set_flushing(true);
    return TRUE;
}

gboolean unlock_stop(GstBaseSrc* base) noexcept {
    self_of(base)->state.in->gate().set_flushing(false);
    return TRUE;
}

// Caps come with the buffers, there is nothing to settle beforehand.
gboolean negotiate(GstBaseSrc*) noexcept {
    return TRUE;
}

// What must be added to the producer's running times to get this pipe's.
GstClockTimeDiff offset_from(SimInterpipeSrc* self, GstClockTime producer_base_time) {
    if (self->state.stream_sync != sync_compensate) {
        return 0;
    }
    return GST_CLOCK_DIFF(gst_element_get_base_time(GST_ELEMENT(self)), producer_base_time);
}

GstClockTime shifted(GstClockTime stamp, GstClockTimeDiff offset) {
    if (!GST_CLOCK_TIME_IS_VALID(stamp)) {
        return stamp;
    }
    const GstClockTimeDiff moved = static_cast<GstClockTimeDiff>(stamp) + offset;
    return moved >= 0 ? static_cast<GstClockTime>(moved) : GST_CLOCK_TIME_NONE;
}

// False when the buffer is older than this pipe. Clamping its time instead would pile up what was
// recorded before the start on the first moment.
bool restamp(GstClockTimeDiff offset, gst_owned<GstBuffer>& buffer) {
    const GstClockTime pts = shifted(GST_BUFFER_PTS(buffer.get()), offset);
    if (GST_BUFFER_PTS_IS_VALID(buffer.get()) && !GST_CLOCK_TIME_IS_VALID(pts)) {
        return false;
    }
    if (offset != 0) {
        buffer.reset(gst_buffer_make_writable(buffer.release()));
        GST_BUFFER_PTS(buffer.get()) = pts;
        GST_BUFFER_DTS(buffer.get()) = shifted(GST_BUFFER_DTS(buffer.get()), offset);
    }
    return true;
}

bool apply_caps(GstBaseSrc* base, GstCaps* caps) {
    const gst_owned<GstCaps> now(gst_pad_get_current_caps(GST_BASE_SRC_PAD(base)));
    if (caps == nullptr || (now && gst_caps_is_equal(now.get(), caps))) {
        return true;
    }
    if (now && !self_of(base)->state.allow_renegotiation) {
        GST_WARNING_OBJECT(base, "the producer's new caps are not allowed");
        return false;
    }
    return gst_base_src_set_caps(base, caps);
}

GstFlowReturn create(GstPushSrc* push, GstBuffer** buffer) noexcept {
    SimInterpipeSrc* self = self_of(push);
    for (;;) {
        flow_item item;
        const wake reason = self->state.in->take(item);
        if (reason != wake::ready) {
            return sim::flow_of(reason);
        }
        if (!restamp(offset_from(self, item.producer_base_time), item.buffer)) {
            self->state.in->restart_at_key_unit();
            continue;
        }
        if (!apply_caps(GST_BASE_SRC(push), item.caps.get())) {
            return GST_FLOW_NOT_NEGOTIATED;
        }
        *buffer = item.buffer.release();
        return GST_FLOW_OK;
    }
}

// Hands a key-unit request on to the producer's pipe, its running time converted.
gboolean request_key_unit(SimInterpipeSrc* self, GstEvent* event) {
    std::shared_ptr<channel> from;
    {
        const std::scoped_lock lock(self->state.mutex);
        from = self->state.from;
    }
    const gst_owned<GstElement> producer = from ? from->producer() : nullptr;
    if (!producer) {
        return FALSE;
    }
    GstClockTime running_time = GST_CLOCK_TIME_NONE;
    gboolean all_headers = FALSE;
    guint count = 0;
    gst_video_event_parse_upstream_force_key_unit(event, &running_time, &all_headers, &count);
    running_time =
        shifted(running_time, -offset_from(self, gst_element_get_base_time(producer.get())));
    const gst_owned<GstPad> pad(gst_element_get_static_pad(producer.get(), "sink"));
    return gst_pad_push_event(
        pad.get(), gst_video_event_new_upstream_force_key_unit(running_time, all_headers, count));
}

// An upstream event that reached the source; it stays the caller's.
gboolean event(GstBaseSrc* base, GstEvent* what) noexcept {
    if (GST_EVENT_TYPE(what) == GST_EVENT_CUSTOM_UPSTREAM &&
        gst_video_event_is_force_key_unit(what)) {
        return request_key_unit(self_of(base), what);
    }
    return GST_BASE_SRC_CLASS(sim_interpipesrc_parent_class)->event(base, what);
}

// What comes late waits in the queue, so the pipe may take its time: a sink that keeps to the clock
// would warn of too little buffering otherwise.
gboolean query(GstBaseSrc* base, GstQuery* what) noexcept {
    if (GST_QUERY_TYPE(what) == GST_QUERY_LATENCY) {
        gst_query_set_latency(what, gst_base_src_is_live(base), 0, GST_CLOCK_TIME_NONE);
        return TRUE;
    }
    return GST_BASE_SRC_CLASS(sim_interpipesrc_parent_class)->query(base, what);
}

gboolean send_event(GstElement* element, GstEvent* what) noexcept {
    return self_of(element)->state.in->gate().takes(what) ||
           GST_ELEMENT_CLASS(sim_interpipesrc_parent_class)->send_event(element, what);
}

void set_property(GObject* object, guint id, const GValue* value, GParamSpec* spec) noexcept {
    source_state& state = self_of(object)->state;
    switch (id) {
    case prop_listen_to:
        listen_to(state, sim::text_of(value));
        break;
    case prop_allow_renegotiation:
        state.allow_renegotiation = g_value_get_boolean(value) != FALSE;
        break;
    case prop_stream_sync:
        state.stream_sync = g_value_get_enum(value);
        break;
    case prop_format:
        gst_base_src_set_format(GST_BASE_SRC(object),
                                static_cast<GstFormat>(g_value_get_enum(value)));
        break;
    case prop_is_live:
        gst_base_src_set_live(GST_BASE_SRC(object), g_value_get_boolean(value));
        break;
    default:
        G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, spec);
    }
}

void get_property(GObject* object, guint id, GValue* value, GParamSpec* spec) noexcept {
    source_state& state = self_of(object)->state;
    switch (id) {
    case prop_listen_to: {
        const std::scoped_lock lock(state.mutex);
        g_value_set_string(value, state.listen_to.c_str());
        break;
    }
    case prop_allow_renegotiation:
        g_value_set_boolean(value, state.allow_renegotiation);
        break;
    case prop_stream_sync:
        g_value_set_enum(value, state.stream_sync);
        break;
    case prop_format:
        g_value_set_enum(value, GST_BASE_SRC(object)->segment.format);
        break;
    case prop_is_live:
        g_value_set_boolean(value, gst_base_src_is_live(GST_BASE_SRC(object)));
        break;
    default:
        G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, spec);
    }
}

void finalize(GObject* object) noexcept {
    std::destroy_at(&self_of(object)->state);
    G_OBJECT_CLASS(sim_interpipesrc_parent_class)->finalize(object);
}

void install_properties(GObjectClass* object) {
    g_object_class_install_property(object, prop_listen_to,
                                    g_param_spec_string("listen-to", "Listen to",
                                                        "Name of the interpipesink to hear",
                                                        nullptr, sim::property_flags));
    g_object_class_install_property(
        object, prop_allow_renegotiation,
        g_param_spec_boolean("allow-renegotiation", "Allow renegotiation",
                             "Follow changes of the caps", TRUE, sim::property_flags));
    g_object_class_install_property(
        object, prop_stream_sync,
        g_param_spec_enum("stream-sync", "Stream synchronisation", "How time stamps are carried",
                          stream_sync_type(), sync_pass_through, sim::property_flags));
    g_object_class_install_property(object, prop_format,
                                    g_param_spec_enum("format", "Format", "Format of the segment",
                                                      GST_TYPE_FORMAT, GST_FORMAT_TIME,
                                                      sim::property_flags));
    g_object_class_install_property(object, prop_is_live,
                                    g_param_spec_boolean("is-live", "Is live",
                                                         "Deliver only while playing", TRUE,
                                                         sim::property_flags));
}

} // namespace

static void sim_interpipesrc_init(SimInterpipeSrc* self) {
    std::construct_at(&self->state);
    gst_base_src_set_live(GST_BASE_SRC(self), TRUE);
    gst_base_src_set_format(GST_BASE_SRC(self), GST_FORMAT_TIME);
}

static void sim_interpipesrc_class_init(SimInterpipeSrcClass* klass) {
    interpipesrc_debug = sim::debug_category("interpipesrc");

    auto* object = G_OBJECT_CLASS(klass);
    object->set_property = set_property;
    object->get_property = get_property;
    object->finalize = finalize;
    install_properties(object);

    auto* element = GST_ELEMENT_CLASS(klass);
    element->send_event = send_event;
    sim::describe(element, "Inter-pipe source", "Generic/Source", "Hears an inter-pipe sink");
    sim::add_pad(element, GST_PAD_SRC, "ANY");

    auto* source = GST_BASE_SRC_CLASS(klass);
    source->start = start;
    source->stop = stop;
    source->unlock = unlock;
    source->unlock_stop = unlock_stop;
    source->negotiate = negotiate;
    source->event = event;
    source->query = query;
    GST_PUSH_SRC_CLASS(klass)->create = create;
}

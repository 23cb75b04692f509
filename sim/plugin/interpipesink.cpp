// interpipesink: publishes its stream to every interpipesrc that listens to its name. An appsink
// whose samples go to the listeners.
#include "element_class.h"
#include "elements.h"
#include "interpipe.h"

#include <gst/app/gstappsink.h>

#include <memory>
#include <mutex>
#include <string>
#include <utility>

GST_DEBUG_CATEGORY_STATIC(interpipesink_debug);
#define GST_CAT_DEFAULT interpipesink_debug

namespace {

struct sink_state {
    std::mutex mutex;
    std::string name;                  // published name
    std::shared_ptr<sim::channel> out; // none if another sink has the name
};

struct SimInterpipeSink {
    GstAppSink parent;
    sink_state state;
};

struct SimInterpipeSinkClass {
    GstAppSinkClass parent_class;
};

} // namespace

G_DEFINE_TYPE(SimInterpipeSink, sim_interpipesink, GST_TYPE_APP_SINK)

namespace {

SimInterpipeSink* self_of(gpointer object) {
    return static_cast<SimInterpipeSink*>(object);
}

GstBaseSinkClass* parent_sink() {
    return GST_BASE_SINK_CLASS(sim_interpipesink_parent_class);
}

std::shared_ptr<sim::channel> channel_of(gpointer object) {
    sink_state& state = self_of(object)->state;
    const std::scoped_lock lock(state.mutex);
    return state.out;
}

// Publishes under another name; an empty one publishes nothing.
void publish_as(SimInterpipeSink* self, std::string name) {
    const std::scoped_lock lock(self->state.mutex);
    if (self->state.name == name) {
        return;
    }
    if (self->state.out) {
        self->state.out->detach(GST_ELEMENT(self));
        self->state.out.reset();
    }
    self->state.name = std::move(name);
    if (self->state.name.empty()) {
        return;
    }
    std::shared_ptr<sim::channel> out = sim::find_channel(self->state.name);
    if (out->attach(GST_ELEMENT(self))) {
        self->state.out = std::move(out);
    } else {
        GST_WARNING_OBJECT(self, "another sink has this name: this one has no listeners");
    }
}

void follow_name(GstElement* element) {
    const g_text name{gst_object_get_name(GST_OBJECT(element))};
    publish_as(self_of(element), name ? name.get() : "");
}

void feed(sim::channel& out, GstSample* sample) {
    if (GstBuffer* const buffer = gst_sample_get_buffer(sample)) {
        out.feed(buffer);
    }
    GstBufferList* const list = gst_sample_get_buffer_list(sample);
    for (guint i = 0; list != nullptr && i < gst_buffer_list_length(list); ++i) {
        out.feed(gst_buffer_list_get(list, i));
    }
}

// Passes on the preroll picture as well as the rendered ones.
GstFlowReturn take(GstAppSink* sink, GstSample* taken) {
    const gst_owned<GstSample> sample{taken};
    const std::shared_ptr<sim::channel> out = channel_of(sink);
    if (sample && out) {
        feed(*out, sample.get());
    }
    return GST_FLOW_OK;
}

GstFlowReturn take_preroll(GstAppSink* sink, gpointer) noexcept {
    return take(sink, gst_app_sink_pull_preroll(sink));
}

GstFlowReturn take_sample(GstAppSink* sink, gpointer) noexcept {
    return take(sink, gst_app_sink_pull_sample(sink));
}

GstCaps* get_caps(GstBaseSink* base, GstCaps* filter) noexcept {
    const std::shared_ptr<sim::channel> out = channel_of(base);
    return out ? out->common_caps(filter).release() : nullptr;
}

gboolean set_caps(GstBaseSink* base, GstCaps* caps) noexcept {
    parent_sink()->set_caps(base, caps);
    gst_app_sink_set_caps(GST_APP_SINK(base), caps);
    if (const std::shared_ptr<sim::channel> out = channel_of(base)) {
        out->set_caps(caps);
    }
    return TRUE;
}

gboolean stop(GstBaseSink* base) noexcept {
    if (const std::shared_ptr<sim::channel> out = channel_of(base)) {
        out->set_caps(nullptr);
    }
    return parent_sink()->stop(base);
}

gboolean event(GstBaseSink* base, GstEvent* what) noexcept {
    if (const std::shared_ptr<sim::channel> out = channel_of(base)) {
        out->send_downstream(what);
    }
    return parent_sink()->event(base, what);
}

void dispose(GObject* object) noexcept {
    publish_as(self_of(object), {});
    G_OBJECT_CLASS(sim_interpipesink_parent_class)->dispose(object);
}

void finalize(GObject* object) noexcept {
    std::destroy_at(&self_of(object)->state);
    G_OBJECT_CLASS(sim_interpipesink_parent_class)->finalize(object);
}

} // namespace

static void sim_interpipesink_init(SimInterpipeSink* self) {
    std::construct_at(&self->state);
    g_signal_connect(self, "notify::name", G_CALLBACK(follow_name), nullptr);
    GstAppSinkCallbacks callbacks{};
    callbacks.new_preroll = take_preroll;
    callbacks.new_sample = take_sample;
    auto* const sink = GST_APP_SINK(self);
    gst_app_sink_set_callbacks(sink, &callbacks, nullptr, nullptr);
    gst_app_sink_set_drop(sink, TRUE);
    gst_app_sink_set_max_buffers(sink, 3);
    gst_base_sink_set_sync(GST_BASE_SINK(self), FALSE);
}

static void sim_interpipesink_class_init(SimInterpipeSinkClass* klass) {
    interpipesink_debug = sim::debug_category("interpipesink");

    auto* object = G_OBJECT_CLASS(klass);
    object->dispose = dispose;
    object->finalize = finalize;

    sim::describe(GST_ELEMENT_CLASS(klass), "Inter-pipe sink", "Generic/Sink",
                  "Publishes a stream by its name");

    auto* sink = GST_BASE_SINK_CLASS(klass);
    sink->get_caps = get_caps;
    sink->set_caps = set_caps;
    sink->stop = stop;
    sink->event = event;
}

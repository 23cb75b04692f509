// interpipesrc: delivers the stream of the interpipesink named by "listen-to". An appsrc that the
// sink pushes into: it never blocks the sink and queues what its pipe doesn't take.
#include "element_class.h"
#include "elements.h"
#include "interpipe.h"

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

GST_DEBUG_CATEGORY_STATIC(interpipesrc_debug);
#define GST_CAT_DEFAULT interpipesrc_debug

namespace {

enum property : guint {
    prop_listen_to = 1,
    prop_allow_renegotiation,
    prop_block_switch,
    prop_stream_sync,
};

struct source_state {
    sim::listener listener;
    std::mutex mutex; // protects the rest
    std::string listen_to;
    bool block_switch = false;
    bool has_listened = false;
    std::optional<sim::listener_name> name; // while started, if no other source has it
    std::shared_ptr<sim::channel> from;     // none: no data
};

struct SimInterpipeSrc {
    GstAppSrc parent;
    source_state state;
};

struct SimInterpipeSrcClass {
    GstAppSrcClass parent_class;
};

} // namespace

G_DEFINE_TYPE(SimInterpipeSrc, sim_interpipesrc, GST_TYPE_APP_SRC)

namespace {

SimInterpipeSrc* self_of(gpointer object) {
    return static_cast<SimInterpipeSrc*>(object);
}

GstBaseSrcClass* parent_source() {
    return GST_BASE_SRC_CLASS(sim_interpipesrc_parent_class);
}

GType stream_sync_type() {
    static const GEnumValue values[] = {
        {sim::sync_restart, "Stamps are arrival times", "restart-ts"},
        {sim::sync_pass_through, "Stamps are unchanged", "passthrough-ts"},
        {sim::sync_compensate, "Stamps are corrected by the difference of base times",
         "compensate-ts"},
        {0, nullptr, nullptr},
    };
    static const GType type = g_enum_register_static("SimInterpipeStreamSync", values);
    return type;
}

// Call these with the state's mutex held.
void leave(source_state& state) {
    if (state.from) {
        state.from->leave(state.listener);
        state.from.reset();
    }
}

bool join(source_state& state, const std::string& name) {
    leave(state);
    if (name.empty()) {
        return true;
    }
    std::shared_ptr<sim::channel> from = sim::find_channel(name);
    if (!from->join(state.listener)) {
        return false;
    }
    state.from = std::move(from);
    state.has_listened = true;
    return true;
}

// Returns false if it keeps its channel.
bool switch_to(source_state& state, const std::string& name) {
    if (!state.name) {
        return true; // not started, or without a name
    }
    if (!name.empty() && state.block_switch && state.has_listened) {
        return false;
    }
    if (join(state, name)) {
        return true;
    }
    static_cast<void>(join(state, state.listen_to));
    return false;
}

void listen_to(SimInterpipeSrc* self, const std::string& name) {
    const std::scoped_lock lock(self->state.mutex);
    if (name == self->state.listen_to) {
        return;
    }
    if (switch_to(self->state, name)) {
        self->state.listen_to = name;
    } else {
        GST_WARNING_OBJECT(self, "can't listen to %s", name.c_str());
    }
}

gboolean start(GstBaseSrc* base) noexcept {
    if (parent_source()->start(base) == FALSE) {
        return FALSE;
    }
    source_state& state = self_of(base)->state;
    gst_base_src_set_do_timestamp(base, state.listener.sync == sim::sync_restart);
    const g_text name{gst_object_get_name(GST_OBJECT(base))};
    const std::scoped_lock lock(state.mutex);
    state.name = sim::listener_name::take(name.get());
    if (!state.name) {
        GST_WARNING_OBJECT(base, "another source has this name: this one gets nothing");
    }
    return !state.name || join(state, state.listen_to);
}

gboolean stop(GstBaseSrc* base) noexcept {
    {
        source_state& state = self_of(base)->state;
        const std::scoped_lock lock(state.mutex);
        leave(state);
        state.name.reset();
    }
    return parent_source()->stop(base);
}

// Handles upstream events; the caller keeps the event.
gboolean event(GstBaseSrc* base, GstEvent* what) noexcept {
    std::shared_ptr<sim::channel> from;
    {
        source_state& state = self_of(base)->state;
        const std::scoped_lock lock(state.mutex);
        from = state.from;
    }
    if (from && GST_EVENT_IS_UPSTREAM(what)) {
        from->send_upstream(what);
    }
    return parent_source()->event(base, what);
}

void set_property(GObject* object, guint id, const GValue* value, GParamSpec* spec) noexcept {
    source_state& state = self_of(object)->state;
    switch (id) {
    case prop_listen_to:
        listen_to(self_of(object), sim::text_of(value));
        break;
    case prop_allow_renegotiation:
        state.listener.allow_renegotiation = g_value_get_boolean(value) != FALSE;
        break;
    case prop_block_switch: {
        const std::scoped_lock lock(state.mutex);
        state.block_switch = g_value_get_boolean(value) != FALSE;
        break;
    }
    case prop_stream_sync:
        state.listener.sync = g_value_get_enum(value);
        break;
    default:
        G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, spec);
    }
}

void get_property(GObject* object, guint id, GValue* value, GParamSpec* spec) noexcept {
    source_state& state = self_of(object)->state;
    const std::scoped_lock lock(state.mutex);
    switch (id) {
    case prop_listen_to:
        g_value_set_string(value, state.listen_to.empty() ? nullptr : state.listen_to.c_str());
        break;
    case prop_allow_renegotiation:
        g_value_set_boolean(value, state.listener.allow_renegotiation);
        break;
    case prop_block_switch:
        g_value_set_boolean(value, state.block_switch);
        break;
    case prop_stream_sync:
        g_value_set_enum(value, state.listener.sync);
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
                                                        "Name of the interpipesink to listen to",
                                                        nullptr, sim::property_flags));
    g_object_class_install_property(
        object, prop_allow_renegotiation,
        g_param_spec_boolean("allow-renegotiation", "Allow renegotiation",
                             "Follow changes of the caps", TRUE, sim::property_flags));
    g_object_class_install_property(object, prop_block_switch,
                                    g_param_spec_boolean("block-switch", "Block switch",
                                                         "Stay with the first sink", FALSE,
                                                         sim::property_flags));
    g_object_class_install_property(
        object, prop_stream_sync,
        g_param_spec_enum("stream-sync", "Stream synchronisation", "How time stamps are passed on",
                          stream_sync_type(), sim::sync_pass_through, sim::property_flags));
}

} // namespace

static void sim_interpipesrc_init(SimInterpipeSrc* self) {
    std::construct_at(&self->state);
    self->state.listener.source = GST_APP_SRC(self);
}

static void sim_interpipesrc_class_init(SimInterpipeSrcClass* klass) {
    interpipesrc_debug = sim::debug_category("interpipesrc");

    auto* object = G_OBJECT_CLASS(klass);
    object->set_property = set_property;
    object->get_property = get_property;
    object->finalize = finalize;
    install_properties(object);

    sim::describe(GST_ELEMENT_CLASS(klass), "Inter-pipe source", "Generic/Source",
                  "Delivers the stream of an inter-pipe sink");

    auto* source = GST_BASE_SRC_CLASS(klass);
    source->start = start;
    source->stop = stop;
    source->event = event;
}

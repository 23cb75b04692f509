// The bin around an encoder: its chain, its pads and its settings.
#include "encoder_bin.h"

#include "element_class.h"
#include "video/gst_owned.h"

G_DEFINE_ABSTRACT_TYPE(SimEncoderBin, sim_encoder_bin, GST_TYPE_BIN)

namespace {

SimEncoderBin* self_of(gpointer object) {
    return static_cast<SimEncoderBin*>(object);
}

const sim::encoder_kind& kind_of(SimEncoderBin* self) {
    return *G_TYPE_INSTANCE_GET_CLASS(self, sim_encoder_bin_get_type(), SimEncoderBinClass)->kind;
}

// A pad of the bin's own, so that it can be linked also when there is nothing behind it.
void add_ghost_pad(SimEncoderBin* self, GstElement* chain, const char* name) {
    GstPadTemplate* const form =
        gst_element_class_get_pad_template(GST_ELEMENT_GET_CLASS(self), name);
    GstPad* const ghost = gst_ghost_pad_new_no_target_from_template(name, form);
    if (chain != nullptr) {
        const gst_owned<GstPad> target(gst_element_get_static_pad(chain, name));
        gst_ghost_pad_set_target(GST_GHOST_PAD(ghost), target.get());
    }
    gst_element_add_pad(GST_ELEMENT(self), ghost);
}

// The inner elements, owned by the bin; null when one of them is missing.
GstElement* add_chain(SimEncoderBin* self) {
    GstElement* const chain = gst_parse_bin_from_description_full(
        kind_of(self).chain, TRUE, nullptr, GST_PARSE_FLAG_FATAL_ERRORS, &self->failure);
    if (chain != nullptr) {
        gst_bin_add(GST_BIN(self), chain);
        const gst_owned<GstElement> encoder(gst_bin_get_by_name(GST_BIN(chain), "encoder"));
        self->encoder = encoder.get();
    }
    return chain;
}

sim::encoder_values values_of(SimEncoderBin* self) {
    GST_OBJECT_LOCK(self);
    const sim::encoder_values values = self->values;
    GST_OBJECT_UNLOCK(self);
    return values;
}

void apply(SimEncoderBin* self, const sim::encoder_setting& setting) {
    if (self->encoder != nullptr) {
        setting.apply(self->encoder, values_of(self));
    }
}

void constructed(GObject* object) noexcept {
    G_OBJECT_CLASS(sim_encoder_bin_parent_class)->constructed(object);
    SimEncoderBin* self = self_of(object);
    GstElement* const chain = add_chain(self);
    add_ghost_pad(self, chain, "sink");
    add_ghost_pad(self, chain, "src");
    std::size_t i = 0;
    for (const sim::encoder_setting& setting : kind_of(self).settings) {
        self->values[i++] = setting.initial;
    }
    for (const sim::encoder_setting& setting : kind_of(self).settings) {
        apply(self, setting);
    }
}

GstStateChangeReturn change_state(GstElement* element, GstStateChange change) noexcept {
    const GError* const failure = self_of(element)->failure;
    if (failure != nullptr) {
        GST_ELEMENT_ERROR(element, CORE, MISSING_PLUGIN, ("%s", failure->message), (nullptr));
        return GST_STATE_CHANGE_FAILURE;
    }
    return GST_ELEMENT_CLASS(sim_encoder_bin_parent_class)->change_state(element, change);
}

// Property numbers are row numbers plus one.
void set_property(GObject* object, guint id, const GValue* value, GParamSpec*) noexcept {
    SimEncoderBin* self = self_of(object);
    GST_OBJECT_LOCK(self);
    self->values[id - 1] = g_value_get_int(value);
    GST_OBJECT_UNLOCK(self);
    apply(self, kind_of(self).settings[id - 1]);
}

void get_property(GObject* object, guint id, GValue* value, GParamSpec*) noexcept {
    g_value_set_int(value, values_of(self_of(object))[id - 1]);
}

void finalize(GObject* object) noexcept {
    g_clear_error(&self_of(object)->failure);
    G_OBJECT_CLASS(sim_encoder_bin_parent_class)->finalize(object);
}

} // namespace

namespace sim {

void set_encoder_kind(SimEncoderBinClass* klass, const encoder_kind& kind) {
    klass->kind = &kind;
    auto* object = G_OBJECT_CLASS(klass);
    // GObject does not hand these two down to subclasses.
    object->set_property = set_property;
    object->get_property = get_property;
    add_pad(GST_ELEMENT_CLASS(klass), GST_PAD_SINK, kind.sink_caps);
    add_pad(GST_ELEMENT_CLASS(klass), GST_PAD_SRC, kind.src_caps);
    guint id = 0;
    for (const encoder_setting& row : kind.settings) {
        g_object_class_install_property(object, ++id,
                                        g_param_spec_int(row.name, row.name, row.text, row.min,
                                                         row.max, row.initial, property_flags));
    }
}

} // namespace sim

static void sim_encoder_bin_init(SimEncoderBin*) {}

static void sim_encoder_bin_class_init(SimEncoderBinClass* klass) {
    auto* object = G_OBJECT_CLASS(klass);
    object->constructed = constructed;
    object->finalize = finalize;
    GST_ELEMENT_CLASS(klass)->change_state = change_state;
}

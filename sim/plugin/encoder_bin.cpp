// The bin around an encoder: its chain, its pads and its settings.
#include "encoder_bin.h"

#include "element_class.h"
#include "util/gst_owned.h"

G_DEFINE_ABSTRACT_TYPE(SimEncoderBin, sim_encoder_bin, GST_TYPE_BIN)

namespace {

SimEncoderBin* self_of(gpointer object) {
    return static_cast<SimEncoderBin*>(object);
}

const sim::encoder_kind& kind_of(SimEncoderBin* self) {
    return *G_TYPE_INSTANCE_GET_CLASS(self, sim_encoder_bin_get_type(), SimEncoderBinClass)->kind;
}

// Copies the kept caps field from the input to the output.
void keep_field(SimEncoderBin* self, GstCaps* input) {
    const char* const field = kind_of(self).kept_field;
    if (field == nullptr) {
        return;
    }
    const gst_owned<GstElement> output{gst_bin_get_by_name(GST_BIN(self), "output")};
    const gst_owned<GstCaps> caps{gst_caps_from_string(kind_of(self).src_caps)};
    gst_caps_set_value(caps.get(), field,
                       gst_structure_get_value(gst_caps_get_structure(input, 0), field));
    g_object_set(output.get(), "caps", caps.get(), nullptr);
}

GstPadProbeReturn look_at_input(GstPad*, GstPadProbeInfo* info, gpointer data) {
    SimEncoderBin* self = self_of(data);
    GstEvent* const event = GST_PAD_PROBE_INFO_EVENT(info);
    if (GST_EVENT_TYPE(event) == GST_EVENT_SEGMENT) {
        gst_event_copy_segment(event, &self->segment);
    } else if (GST_EVENT_TYPE(event) == GST_EVENT_CAPS) {
        GstCaps* caps = nullptr;
        gst_event_parse_caps(event, &caps);
        keep_field(self, caps);
    }
    return GST_PAD_PROBE_OK;
}

// Undoes x264's shift of stamps and segment by a thousand hours, which makes room for negative
// stamps.
GstPadProbeReturn restore_segment(GstPad*, GstPadProbeInfo* info, gpointer data) {
    SimEncoderBin* self = self_of(data);
    GstEvent* const event = GST_PAD_PROBE_INFO_EVENT(info);
    if (GST_EVENT_TYPE(event) != GST_EVENT_SEGMENT) {
        return GST_PAD_PROBE_OK;
    }
    const GstSegment* moved = nullptr;
    gst_event_parse_segment(event, &moved);
    self->offset = GST_CLOCK_DIFF(self->segment.start, moved->start);
    GstEvent* const restored = gst_event_new_segment(&self->segment);
    gst_event_set_seqnum(restored, gst_event_get_seqnum(event));
    gst_event_unref(event);
    GST_PAD_PROBE_INFO_DATA(info) = restored;
    return GST_PAD_PROBE_OK;
}

GstClockTime without(GstClockTimeDiff offset, GstClockTime stamp) {
    return GST_CLOCK_TIME_IS_VALID(stamp) ? stamp - static_cast<GstClockTime>(offset) : stamp;
}

GstPadProbeReturn restore_stamps(GstPad*, GstPadProbeInfo* info, gpointer data) {
    const GstClockTimeDiff offset = self_of(data)->offset;
    GstBuffer* const buffer = gst_buffer_make_writable(GST_PAD_PROBE_INFO_BUFFER(info));
    GST_BUFFER_PTS(buffer) = without(offset, GST_BUFFER_PTS(buffer));
    GST_BUFFER_DTS(buffer) = without(offset, GST_BUFFER_DTS(buffer));
    GST_PAD_PROBE_INFO_DATA(info) = buffer;
    return GST_PAD_PROBE_OK;
}

// Adds a probe to a pad of the encoding element.
void add_probe(SimEncoderBin* self, const char* name, GstPadProbeType what,
               GstPadProbeCallback callback) {
    const gst_owned<GstPad> pad{gst_element_get_static_pad(self->encoder, name)};
    gst_pad_add_probe(pad.get(), what, callback, self, nullptr);
}

// A ghost pad that can be linked even without an element behind it.
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

// Creates the inner elements, owned by the bin; null when one is missing.
GstElement* add_chain(SimEncoderBin* self) {
    const sim::encoder_kind& kind = kind_of(self);
    const g_text text{
        g_strdup_printf("capsfilter caps=\"%s\" ! %s ! capsfilter name=output caps=\"%s\"",
                        kind.sink_caps, kind.chain, kind.src_caps)};
    GstElement* const chain = gst_parse_bin_from_description_full(
        text.get(), TRUE, nullptr, GST_PARSE_FLAG_FATAL_ERRORS, &self->failure);
    if (chain != nullptr) {
        gst_bin_add(GST_BIN(self), chain);
        const gst_owned<GstElement> encoder{gst_bin_get_by_name(GST_BIN(chain), "encoder")};
        self->encoder = encoder.get();
        add_probe(self, "sink", GST_PAD_PROBE_TYPE_EVENT_DOWNSTREAM, look_at_input);
        add_probe(self, "src", GST_PAD_PROBE_TYPE_EVENT_DOWNSTREAM, restore_segment);
        add_probe(self, "src", GST_PAD_PROBE_TYPE_BUFFER, restore_stamps);
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

// Property ids are row indices plus one.
void set_property(GObject* object, guint id, const GValue* value, GParamSpec*) noexcept {
    SimEncoderBin* self = self_of(object);
    GST_OBJECT_LOCK(self);
    self->values[id - 1] =
        G_VALUE_HOLDS_ENUM(value) ? g_value_get_enum(value) : g_value_get_int(value);
    GST_OBJECT_UNLOCK(self);
    apply(self, kind_of(self).settings[id - 1]);
}

void get_property(GObject* object, guint id, GValue* value, GParamSpec*) noexcept {
    const gint number = values_of(self_of(object))[id - 1];
    if (G_VALUE_HOLDS_ENUM(value)) {
        g_value_set_enum(value, number);
    } else {
        g_value_set_int(value, number);
    }
}

GParamSpec* describe_setting(const sim::encoder_setting& row) {
    return row.choices != nullptr ? g_param_spec_enum(row.name, row.name, row.text, row.choices(),
                                                      row.initial, sim::property_flags)
                                  : g_param_spec_int(row.name, row.name, row.text, row.min, row.max,
                                                     row.initial, sim::property_flags);
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
    // GObject does not inherit these two.
    object->set_property = set_property;
    object->get_property = get_property;
    add_pad(GST_ELEMENT_CLASS(klass), GST_PAD_SINK, kind.sink_caps);
    add_pad(GST_ELEMENT_CLASS(klass), GST_PAD_SRC, kind.src_caps);
    guint id = 0;
    for (const encoder_setting& row : kind.settings) {
        g_object_class_install_property(object, ++id, describe_setting(row));
    }
}

} // namespace sim

static void sim_encoder_bin_init(SimEncoderBin* self) {
    gst_segment_init(&self->segment, GST_FORMAT_TIME);
}

static void sim_encoder_bin_class_init(SimEncoderBinClass* klass) {
    auto* object = G_OBJECT_CLASS(klass);
    object->constructed = constructed;
    object->finalize = finalize;
    GST_ELEMENT_CLASS(klass)->change_state = change_state;
}

// Base class for the stand-ins of the board's two video transform units.
#include "video_transform.h"

#include "element_class.h"
#include "util/gst_owned.h"

G_DEFINE_ABSTRACT_TYPE(SimVideoTransform, sim_video_transform, GST_TYPE_VIDEO_FILTER)

namespace {

SimVideoTransform* self_of(gpointer object) {
    return static_cast<SimVideoTransform*>(object);
}

// Caps fields that a conversion may change.
constexpr const char* free_fields[] = {
    "format",      "width",       "height",         "pixel-aspect-ratio",
    "colorimetry", "chroma-site", "interlace-mode",
};

// Caps of the same picture on the other side; identity first, so that it is preferred.
GstCaps* transform_caps(GstBaseTransform*, GstPadDirection, GstCaps* caps,
                        GstCaps* filter) noexcept {
    gst_owned<GstCaps> any(gst_caps_copy(caps));
    for (guint i = 0; i < gst_caps_get_size(any.get()); ++i) {
        for (const char* field : free_fields) {
            gst_structure_remove_field(gst_caps_get_structure(any.get(), i), field);
        }
    }
    GstCaps* const merged = gst_caps_merge(gst_caps_ref(caps), any.release());
    if (filter == nullptr) {
        return merged;
    }
    const gst_owned<GstCaps> unfiltered(merged);
    return gst_caps_intersect_full(filter, unfiltered.get(), GST_CAPS_INTERSECT_FIRST);
}

// Fixates open fields as close to the input as the other side allows.
GstCaps* fixate_caps(GstBaseTransform*, GstPadDirection, GstCaps* caps, GstCaps* other) noexcept {
    GstStructure* const wanted = gst_caps_get_structure(caps, 0);
    gst_owned<GstCaps> result(gst_caps_make_writable(gst_caps_truncate(other)));
    GstStructure* const open = gst_caps_get_structure(result.get(), 0);
    gint number = 0;
    for (const char* field : {"width", "height"}) {
        if (gst_structure_get_int(wanted, field, &number) != FALSE) {
            gst_structure_fixate_field_nearest_int(open, field, number);
        }
    }
    if (const char* format = gst_structure_get_string(wanted, "format")) {
        gst_structure_fixate_field_string(open, "format", format);
    }
    return gst_caps_fixate(result.release());
}

void drop_converter(SimVideoTransform* self) {
    g_clear_pointer(&self->converter, gst_video_converter_free);
}

gboolean set_info(GstVideoFilter* filter, GstCaps*, GstVideoInfo* from, GstCaps*,
                  GstVideoInfo* to) noexcept {
    SimVideoTransform* self = self_of(filter);
    drop_converter(self);
    self->converter = gst_video_converter_new(from, to, nullptr);
    return self->converter != nullptr ? TRUE : FALSE;
}

GstFlowReturn transform_frame(GstVideoFilter* filter, GstVideoFrame* from,
                              GstVideoFrame* to) noexcept {
    gst_video_converter_frame(self_of(filter)->converter, from, to);
    return GST_FLOW_OK;
}

gboolean stop(GstBaseTransform* transform) noexcept {
    drop_converter(self_of(transform));
    return TRUE;
}

// Adds ranges for size and rate: fixating needs these fields.
void add_video_pad(gpointer klass, GstPadDirection direction, const char* formats) {
    const g_text caps{g_strdup_printf(GST_VIDEO_CAPS_MAKE("%s"), formats)};
    sim::add_pad(GST_ELEMENT_CLASS(klass), direction, caps.get());
}

} // namespace

namespace sim {

void set_transform_formats(SimVideoTransformClass* klass, const char* taken, const char* given) {
    add_video_pad(klass, GST_PAD_SINK, taken);
    add_video_pad(klass, GST_PAD_SRC, given);
}

} // namespace sim

static void sim_video_transform_init(SimVideoTransform* self) {
    self->converter = nullptr;
}

static void sim_video_transform_class_init(SimVideoTransformClass* klass) {
    auto* transform = GST_BASE_TRANSFORM_CLASS(klass);
    transform->transform_caps = transform_caps;
    transform->fixate_caps = fixate_caps;
    transform->stop = stop;
    transform->passthrough_on_same_caps = TRUE;

    auto* filter = GST_VIDEO_FILTER_CLASS(klass);
    filter->set_info = set_info;
    filter->transform_frame = transform_frame;
}

// What the board's two video transform units have in common: scaling and colour conversion.
#include "video_transform.h"

#include "element_class.h"
#include "video/gst_owned.h"

#include <algorithm>

G_DEFINE_ABSTRACT_TYPE(SimVideoTransform, sim_video_transform, GST_TYPE_VIDEO_FILTER)

namespace {

SimVideoTransform* self_of(gpointer object) {
    return static_cast<SimVideoTransform*>(object);
}

// What a conversion may change.
constexpr const char* free_fields[] = {
    "format",      "width",       "height",         "framerate", "pixel-aspect-ratio",
    "colorimetry", "chroma-site", "interlace-mode",
};

// The same picture as the other side may have it: identity first, so that it is preferred.
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

// What is left open stays as near to the input as the other side allows.
GstCaps* fixate_caps(GstBaseTransform*, GstPadDirection, GstCaps* caps, GstCaps* other) noexcept {
    GstStructure* const wanted = gst_caps_get_structure(caps, 0);
    gst_owned<GstCaps> result(gst_caps_make_writable(gst_caps_truncate(other)));
    GstStructure* const open = gst_caps_get_structure(result.get(), 0);
    gint number = 0;
    gint denominator = 1;
    for (const char* field : {"width", "height"}) {
        if (gst_structure_get_int(wanted, field, &number) != FALSE) {
            gst_structure_fixate_field_nearest_int(open, field, number);
        }
    }
    if (gst_structure_get_fraction(wanted, "framerate", &number, &denominator) != FALSE) {
        gst_structure_fixate_field_nearest_fraction(open, "framerate", number, denominator);
    }
    if (const char* format = gst_structure_get_string(wanted, "format")) {
        gst_structure_fixate_field_string(open, "format", format);
    }
    return gst_caps_fixate(result.release());
}

// A picture waits for no longer than this, so that the pipe can be stopped in between.
constexpr gint64 longest_interval_us = 50'000;

// What pictures that come late, after a stall, may be made up for.
constexpr gint64 catch_up_us = 250'000;

gint64 interval_of(const GstVideoInfo* info) {
    const gint rate = GST_VIDEO_INFO_FPS_N(info);
    return rate > 0 ? std::min(longest_interval_us,
                               gint64{GST_VIDEO_INFO_FPS_D(info)} * G_USEC_PER_SEC / rate)
                    : 0;
}

// A source that no clock holds back, as a still picture is, would keep the processor busy with
// pictures that nobody sees. There are no more of them than their rate says.
void keep_to_rate(SimVideoTransform* self) {
    const gint64 now = g_get_monotonic_time();
    if (self->due_us > now) {
        g_usleep(static_cast<gulong>(self->due_us - now));
    }
    self->due_us = std::max(self->due_us, now - catch_up_us) + self->interval_us;
}

void drop_converter(SimVideoTransform* self) {
    g_clear_pointer(&self->converter, gst_video_converter_free);
}

gboolean set_info(GstVideoFilter* filter, GstCaps*, GstVideoInfo* from, GstCaps*,
                  GstVideoInfo* to) noexcept {
    SimVideoTransform* self = self_of(filter);
    drop_converter(self);
    // The stock converter refuses differing rates; here they only relabel the stream.
    GstVideoInfo relabelled = *from;
    GST_VIDEO_INFO_FPS_N(&relabelled) = GST_VIDEO_INFO_FPS_N(to);
    GST_VIDEO_INFO_FPS_D(&relabelled) = GST_VIDEO_INFO_FPS_D(to);
    self->interval_us = interval_of(to);
    self->converter = gst_video_converter_new(&relabelled, to, nullptr);
    return self->converter != nullptr ? TRUE : FALSE;
}

GstFlowReturn transform_frame(GstVideoFilter* filter, GstVideoFrame* from,
                              GstVideoFrame* to) noexcept {
    SimVideoTransform* self = self_of(filter);
    keep_to_rate(self);
    gst_video_converter_frame(self->converter, from, to);
    return GST_FLOW_OK;
}

void push_event(GstElement* element, gpointer event) noexcept {
    gst_pad_push_event(GST_BASE_TRANSFORM_SRC_PAD(element), gst_event_ref(GST_EVENT(event)));
}

void drop_event(gpointer event) noexcept {
    gst_event_unref(GST_EVENT(event));
}

// The end of the splash is sent to the transform itself, downstream of a picture without end. From
// then on what comes from upstream is refused as past the end. Another thread pushes it: what is
// downstream may be blocked until the sender, who still holds this element's state lock, changes
// the pipe's state.
gboolean send_event(GstElement* element, GstEvent* event) noexcept {
    if (GST_EVENT_TYPE(event) != GST_EVENT_EOS) {
        return GST_ELEMENT_CLASS(sim_video_transform_parent_class)->send_event(element, event);
    }
    gst_element_call_async(element, push_event, event, drop_event);
    return TRUE;
}

gboolean stop(GstBaseTransform* transform) noexcept {
    drop_converter(self_of(transform));
    return TRUE;
}

} // namespace

static void sim_video_transform_init(SimVideoTransform* self) {
    self->converter = nullptr;
    self->interval_us = 0;
    self->due_us = 0;
}

static void sim_video_transform_class_init(SimVideoTransformClass* klass) {
    auto* element = GST_ELEMENT_CLASS(klass);
    element->send_event = send_event;
    // With ranges for size and rate: fixating needs the fields to be there.
    constexpr const char* any_video = GST_VIDEO_CAPS_MAKE(GST_VIDEO_FORMATS_ALL);
    sim::add_pad(element, GST_PAD_SINK, any_video);
    sim::add_pad(element, GST_PAD_SRC, any_video);

    auto* transform = GST_BASE_TRANSFORM_CLASS(klass);
    transform->transform_caps = transform_caps;
    transform->fixate_caps = fixate_caps;
    transform->stop = stop;
    transform->passthrough_on_same_caps = TRUE;

    auto* filter = GST_VIDEO_FILTER_CLASS(klass);
    filter->set_info = set_info;
    filter->transform_frame = transform_frame;
}

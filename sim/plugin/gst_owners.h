// Owners for what GStreamer and GLib hand out: each releases it with the call that fits its type.
#pragma once

#include <gst/gst.h>

#include <memory>

namespace sim {

// GStreamer's mini objects (caps, buffers, events...) and its GObjects count references apart.
struct gst_release {
    void operator()(GstBuffer* buffer) const noexcept { gst_buffer_unref(buffer); }
    void operator()(GstCaps* caps) const noexcept { gst_caps_unref(caps); }
    void operator()(GstEvent* event) const noexcept { gst_event_unref(event); }
    void operator()(GstMessage* message) const noexcept { gst_message_unref(message); }
    void operator()(GstSample* sample) const noexcept { gst_sample_unref(sample); }
    void operator()(GstBufferPool* pool) const noexcept { gst_object_unref(pool); }
    void operator()(GstBus* bus) const noexcept { gst_object_unref(bus); }
    void operator()(GstElement* element) const noexcept { gst_object_unref(element); }
    void operator()(GstPad* pad) const noexcept { gst_object_unref(pad); }
    void operator()(GError* error) const noexcept { g_error_free(error); }
    void operator()(gchar* text) const noexcept { g_free(text); }
};

// One counted reference (or one allocation); empty means "none".
template <typename T> using gst_owner = std::unique_ptr<T, gst_release>;

// One more reference to what is borrowed.
inline gst_owner<GstBuffer> share(GstBuffer* buffer) {
    return gst_owner<GstBuffer>(gst_buffer_ref(buffer));
}
inline gst_owner<GstCaps> share(GstCaps* caps) {
    return gst_owner<GstCaps>(gst_caps_ref(caps));
}
inline gst_owner<GstElement> share(GstElement* element) {
    return gst_owner<GstElement>(GST_ELEMENT(gst_object_ref(element)));
}

} // namespace sim

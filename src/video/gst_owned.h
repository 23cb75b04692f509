// Owners for what GStreamer and GLib hand out.
//
// Floating references: gst_element_factory_make and friends return an object whose first reference
// belongs to nobody yet; own_floating takes it, and a bin that the element is added to then takes
// another of its own. Handles to elements that pipelines own are kept weak (video/handles.h).
#pragma once

#include <gst/gst.h>
#include <memory>

struct gst_object_deleter {
    void operator()(void* object) const noexcept { gst_object_unref(object); }
};
template <class Object> using gst_owned = std::unique_ptr<Object, gst_object_deleter>;

template <class Object> [[nodiscard]] gst_owned<Object> own_floating(Object* object) {
    if (object != nullptr) {
        gst_object_ref_sink(object);
    }
    return gst_owned<Object>{object};
}

struct g_free_deleter {
    void operator()(void* block) const noexcept { g_free(block); }
};
using g_text = std::unique_ptr<char, g_free_deleter>;

struct g_error_deleter {
    void operator()(GError* error) const noexcept { g_error_free(error); }
};
using g_error_owned = std::unique_ptr<GError, g_error_deleter>;

struct gst_mini_object_deleter {
    void operator()(GstCaps* caps) const noexcept { gst_caps_unref(caps); }
    void operator()(GstMessage* message) const noexcept { gst_message_unref(message); }
    void operator()(GstSample* sample) const noexcept { gst_sample_unref(sample); }
};
using gst_caps_owned = std::unique_ptr<GstCaps, gst_mini_object_deleter>;
using gst_message_owned = std::unique_ptr<GstMessage, gst_mini_object_deleter>;
using gst_sample_owned = std::unique_ptr<GstSample, gst_mini_object_deleter>;

struct gst_iterator_deleter {
    void operator()(GstIterator* iterator) const noexcept { gst_iterator_free(iterator); }
};
using gst_iterator_owned = std::unique_ptr<GstIterator, gst_iterator_deleter>;

// A GValue that is unset at the end of its scope.
class g_value {
public:
    g_value() = default;
    explicit g_value(GType type) { g_value_init(&value_, type); }
    g_value(const g_value&) = delete;
    g_value& operator=(const g_value&) = delete;
    ~g_value() { g_value_unset(&value_); }
    [[nodiscard]] GValue* get() { return &value_; }

private:
    GValue value_ = G_VALUE_INIT;
};

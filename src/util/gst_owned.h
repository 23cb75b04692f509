// Owners for GStreamer's objects; those for GLib's own types are in util/glib_owned.h.
//
// Floating references: the first reference of an object from gst_element_factory_make and friends
// belongs to nobody. own_floating takes it; a bin that the element is added to then takes its own.
// Handles to elements that pipelines own are weak (video/handles.h).
#pragma once

#include "util/glib_owned.h"

#include <gst/gst.h>

// Objects and mini objects have different reference counts. A missing type doesn't compile.
struct gst_release {
    void operator()(GstBus* bus) const noexcept { gst_object_unref(bus); }
    void operator()(GstBufferPool* pool) const noexcept { gst_object_unref(pool); }
    void operator()(GstClock* clock) const noexcept { gst_object_unref(clock); }
    void operator()(GstElement* element) const noexcept { gst_object_unref(element); }
    void operator()(GstElementFactory* factory) const noexcept { gst_object_unref(factory); }
    void operator()(GstObject* object) const noexcept { gst_object_unref(object); }
    void operator()(GstPad* pad) const noexcept { gst_object_unref(pad); }
    void operator()(GstPadTemplate* pad_template) const noexcept { gst_object_unref(pad_template); }

    void operator()(GstBuffer* buffer) const noexcept { gst_buffer_unref(buffer); }
    void operator()(GstCaps* caps) const noexcept { gst_caps_unref(caps); }
    void operator()(GstEvent* event) const noexcept { gst_event_unref(event); }
    void operator()(GstIterator* iterator) const noexcept { gst_iterator_free(iterator); }
    void operator()(GstMessage* message) const noexcept { gst_message_unref(message); }
    void operator()(GstSample* sample) const noexcept { gst_sample_unref(sample); }

    void operator()(GstStructure* fields) const noexcept { gst_structure_free(fields); }
};

// One counted reference; empty means none.
template <class T> using gst_owned = std::unique_ptr<T, gst_release>;

template <class Object> [[nodiscard]] gst_owned<Object> own_floating(Object* object) {
    if (object != nullptr) {
        gst_object_ref_sink(object);
    }
    return gst_owned<Object>{object};
}

// Adds a reference to a borrowed object.
[[nodiscard]] inline gst_owned<GstBuffer> own_shared(GstBuffer* buffer) {
    return gst_owned<GstBuffer>{gst_buffer_ref(buffer)};
}
[[nodiscard]] inline gst_owned<GstCaps> own_shared(GstCaps* caps) {
    return gst_owned<GstCaps>{gst_caps_ref(caps)};
}
[[nodiscard]] inline gst_owned<GstElement> own_shared(GstElement* element) {
    return gst_owned<GstElement>{GST_ELEMENT(gst_object_ref(element))};
}

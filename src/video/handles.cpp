// Handles to single elements that are acted on after their pipe was built.
#include "video/handles.h"

#include <array>

namespace {

// Weak, so that acting on an element that went away with its pipe does nothing.
constinit std::array<GWeakRef, static_cast<std::size_t>(element_handle::count)> handles{};

} // namespace

void handle_set(element_handle handle, GstElement* element) {
    if (handle != element_handle::none) {
        g_weak_ref_set(&handles[static_cast<std::size_t>(handle)], element);
    }
}

gst_owned<GstElement> handle_get(element_handle handle) {
    void* const element = g_weak_ref_get(&handles[static_cast<std::size_t>(handle)]);
    return gst_owned<GstElement>{static_cast<GstElement*>(element)};
}

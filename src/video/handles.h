// Handles to single elements that are acted on after their pipe was built.
#pragma once

#include "util/gst_owned.h"

#include <array>
#include <cstddef>

// Several pipes may set the same handle: it refers to the element that was built last.
enum class element_handle : std::size_t {
    none, // for elements that nobody asks for later
    overlay,
    display_sink,
    ipu_caps,
    audio_amp,
    record_sink,
    count,
};

// Weak, so that acting on an element that went away with its pipe does nothing.
inline constinit std::array<GWeakRef, static_cast<std::size_t>(element_handle::count)> handles{};

// Remembers the element without owning it.
inline void handle_set(element_handle handle, GstElement* element) {
    if (handle != element_handle::none) {
        g_weak_ref_set(&handles[static_cast<std::size_t>(handle)], element);
    }
}

// What a weak reference refers to, kept alive while the result lives; none when it is gone.
[[nodiscard]] inline gst_owned<GstElement> weak_get(GWeakRef& reference) {
    return gst_owned<GstElement>{static_cast<GstElement*>(g_weak_ref_get(&reference))};
}

// The element; none when its pipe is gone.
[[nodiscard]] inline gst_owned<GstElement> handle_get(element_handle handle) {
    return weak_get(handles[static_cast<std::size_t>(handle)]);
}

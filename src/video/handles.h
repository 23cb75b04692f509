// Handles to elements that are used after their pipe was built.
#pragma once

#include "util/gst_owned.h"

#include <array>
#include <cstddef>

// If several pipes set the same handle, it refers to the element built last.
enum class element_handle : std::size_t {
    none, // not used later
    overlay,
    display_sink,
    ipu_caps,
    audio_amp,
    record_sink,
    count,
};

// Weak: after the pipe is gone, using the handle has no effect.
inline constinit std::array<GWeakRef, static_cast<std::size_t>(element_handle::count)> handles{};

// Set when an overlay is built: its scene doesn't know the sight's state yet.
inline bool is_overlay_new = false;

// Remembers the element without taking ownership.
inline void handle_set(element_handle handle, GstElement* element) {
    is_overlay_new = is_overlay_new || handle == element_handle::overlay;
    if (handle != element_handle::none) {
        g_weak_ref_set(&handles[static_cast<std::size_t>(handle)], element);
    }
}

// Returns a reference to the element, or none when its pipe is gone.
[[nodiscard]] inline gst_owned<GstElement> handle_get(element_handle handle) {
    void* const element = g_weak_ref_get(&handles[static_cast<std::size_t>(handle)]);
    return gst_owned<GstElement>{static_cast<GstElement*>(element)};
}

// Handles to single elements that are acted on after their pipe was built.
#pragma once

#include "video/gst_owned.h"

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

// Remembers the element without owning it.
void handle_set(element_handle handle, GstElement* element);

// The element, kept alive while the result lives; none when its pipe is gone.
[[nodiscard]] gst_owned<GstElement> handle_get(element_handle handle);

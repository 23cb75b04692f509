// The logging category of the overlay's scenes: the element's own. Included for its macro, which
// GStreamer's logging calls look for.
#pragma once

#include <gst/gst.h>

namespace sim {

inline GstDebugCategory* scene_category() {
    static GstDebugCategory* const category = _gst_debug_category_new("qtoverlay", 0, nullptr);
    return category;
}

} // namespace sim

#define GST_CAT_DEFAULT sim::scene_category()

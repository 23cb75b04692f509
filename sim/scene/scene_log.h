// Logs about the overlay's scenes: in the element's logging category, through the macro that
// GStreamer's logging calls use, and on standard error.
#pragma once

#include <gst/gst.h>

#include <cstdio>
#include <string>

namespace sim {

inline GstDebugCategory* scene_category() {
    static GstDebugCategory* const category = _gst_debug_category_new("qtoverlay", 0, nullptr);
    return category;
}

// Logs a message or error of a scene's script on a separate line.
inline void say_of_scene(const std::string& text) {
    const std::string line = "scene: " + text + '\n';
    std::fwrite(line.data(), 1, line.size(), stderr);
}

} // namespace sim

#define GST_CAT_DEFAULT sim::scene_category()

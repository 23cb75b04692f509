// Base of the board's two video transform units: scaling and colour conversion in one step, to the
// format and size requested downstream. The frame rate stays.
#pragma once

#include <gst/video/gstvideofilter.h>
#include <gst/video/video.h>

struct SimVideoTransform {
    GstVideoFilter parent;
    GstVideoConverter* converter; // owned; null until caps are known
};

struct SimVideoTransformClass {
    GstVideoFilterClass parent_class;
};

// Abstract: a unit is a subclass with its own factory name.
GType sim_video_transform_get_type();

namespace sim {

// Call in the subclass's class_init: adds pads for these formats ("{ RGBA, RGBx }").
void set_transform_formats(SimVideoTransformClass* klass, const char* taken, const char* given);

} // namespace sim

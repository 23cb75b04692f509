// What the board's two video transform units have in common: scaling and colour conversion in one
// step, to the format and size that are asked for downstream. The frame rate stays.
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

// Abstract: a unit is a subclass with a factory name of its own.
GType sim_video_transform_get_type();

namespace sim {

// For the subclass's class_init: its pads, for these formats ("{ RGBA, RGBx }").
void set_transform_formats(SimVideoTransformClass* klass, const char* taken, const char* given);

} // namespace sim

// Base class for the stand-ins of the board's two video transform units. Scales and converts
// colours in one step, to the format and size requested downstream; keeps the frame rate.
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

// Abstract: each unit is a subclass with its own factory name.
GType sim_video_transform_get_type();

namespace sim {

// Call in the subclass's class_init. Adds a sink pad for the formats `taken` and a source pad for
// `given`, both written like "{ RGBA, RGBx }".
void set_transform_formats(SimVideoTransformClass* klass, const char* taken, const char* given);

} // namespace sim

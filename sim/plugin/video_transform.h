// What the board's two video transform units have in common: scaling and colour conversion in one
// step, to whatever format, size and rate is asked for downstream.
#pragma once

#include <gst/video/gstvideofilter.h>
#include <gst/video/video.h>

struct SimVideoTransform {
    GstVideoFilter parent;
    GstVideoConverter* converter; // owned; null until caps are known
    gint64 interval_us;           // between pictures at their rate; 0 without one
    gint64 due_us;                // monotonic time of the next picture
};

struct SimVideoTransformClass {
    GstVideoFilterClass parent_class;
};

// Abstract: a unit is a subclass with a factory name of its own.
GType sim_video_transform_get_type();

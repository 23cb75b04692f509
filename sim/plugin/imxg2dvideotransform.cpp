// imxg2dvideotransform: the 2D unit that scales the camera's picture to the display's.
#include "element_class.h"
#include "elements.h"
#include "video_transform.h"

namespace {

using SimG2dTransform = SimVideoTransform;
using SimG2dTransformClass = SimVideoTransformClass;

} // namespace

G_DEFINE_TYPE(SimG2dTransform, sim_imxg2dvideotransform, sim_video_transform_get_type())

static void sim_imxg2dvideotransform_init(SimG2dTransform*) {}

static void sim_imxg2dvideotransform_class_init(SimG2dTransformClass* klass) {
    sim::describe(GST_ELEMENT_CLASS(klass), "G2D video transform", "Filter/Converter/Video/Scaler",
                  "Scales and converts pictures like the board's 2D unit");
    // It doesn't support 24-bit formats.
    sim::set_transform_formats(
        klass, "{ RGBx, BGRx, RGBA, BGRA, RGB16, NV12, NV21, I420, YV12, YUY2, UYVY }",
        "{ RGBx, BGRx, RGBA, BGRA, RGB16 }");
}

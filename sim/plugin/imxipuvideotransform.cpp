// imxipuvideotransform: the image processing unit that scales and converts the live picture for the
// encoders.
#include "element_class.h"
#include "elements.h"
#include "video_transform.h"

namespace {

using SimIpuTransform = SimVideoTransform;
using SimIpuTransformClass = SimVideoTransformClass;

} // namespace

G_DEFINE_TYPE(SimIpuTransform, sim_imxipuvideotransform, sim_video_transform_get_type())

static void sim_imxipuvideotransform_init(SimIpuTransform*) {}

static void sim_imxipuvideotransform_class_init(SimIpuTransformClass* klass) {
    sim::describe(GST_ELEMENT_CLASS(klass), "IPU video transform", "Filter/Converter/Video/Scaler",
                  "Scales and converts pictures like the board's image processing unit");
    constexpr const char* FORMATS = "{ RGB16, BGR, RGB, BGRx, BGRA, RGBx, RGBA, ABGR, UYVY, v308, "
                                    "NV12, YV12, I420, Y42B, Y444 }";
    sim::set_transform_formats(klass, FORMATS, FORMATS);
}

// Entry point of the GStreamer plug-in with the stand-ins.
#include "elements.h"
#include "stand_in.h"

#include <gst/gst.h>

namespace {

struct element_row {
    const char* factory;
    GType (*type)();
};

// A new stand-in is one row here and one file in this folder.
constexpr element_row element_rows[] = {
    {"imxv4l2videosrc", sim_imxv4l2videosrc_get_type},
    {"imxg2dvideotransform", sim_imxg2dvideotransform_get_type},
    {"imxipuvideosink", sim_imxipuvideosink_get_type},
    {"imxipuvideotransform", sim_imxipuvideotransform_get_type},
    {"imxmp3audioenc", sim_imxmp3audioenc_get_type},
    {"imxvpuenc_h264", sim_imxvpuenc_h264_get_type},
    {"interpipesink", sim_interpipesink_get_type},
    {"interpipesrc", sim_interpipesrc_get_type},
    {"perf", sim_perf_get_type},
    {"qtoverlay", sim_qtoverlay_get_type},
};

gboolean plugin_init(GstPlugin* plugin) {
    for (const element_row& row : element_rows) {
        if (!sim::register_stand_in(plugin, row.factory, GST_RANK_NONE, row.type())) {
            return FALSE;
        }
    }
    return TRUE;
}

} // namespace

#define PACKAGE "vtrdc"
GST_PLUGIN_DEFINE(GST_VERSION_MAJOR, GST_VERSION_MINOR, vtrdcsim,
                  "Stand-ins for the sight's video hardware", plugin_init, VTRDC_VERSION,
                  "Proprietary", "vtrdc", "https://localhost/")

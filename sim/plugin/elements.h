// The stand-in elements: one type getter each, registered by plugin.cpp.
#pragma once

#include <glib-object.h>

GType sim_imxv4l2videosrc_get_type();
GType sim_imxg2dvideotransform_get_type();
GType sim_imxipuvideosink_get_type();
GType sim_imxipuvideotransform_get_type();
GType sim_imxmp3audioenc_get_type();
GType sim_imxvpuenc_h264_get_type();
GType sim_interpipesink_get_type();
GType sim_interpipesrc_get_type();
GType sim_perf_get_type();
GType sim_qtoverlay_get_type();

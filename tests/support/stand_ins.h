// Initialises GStreamer with the simulated board's stand-ins in a test's process.
#pragma once

#include <cstdlib>
#include <gst/gst.h>

// Call instead of gst_init.
inline void init_with_stand_ins() {
    setenv("GST_PLUGIN_PATH", VTRDC_SIM_PLUGIN_DIR, 1);
    setenv("GST_REGISTRY", VTRDC_GST_REGISTRY, 1);
    unsetenv("VTRDC_SIM_WITHOUT"); // all of them
#ifdef __SANITIZE_ADDRESS__
    // The forked scanner can't load sanitized code.
    setenv("GST_REGISTRY_FORK", "no", 1);
#endif
    gst_init(nullptr, nullptr);
}

// The live view: camera with overlay, display, and the splash that stands in for a lost camera.
#pragma once

#include "video/registry.h"
#include "video/video_config.h"

// Initialises GStreamer and takes the settings. 0, also when GStreamer was up already (the settings
// are not taken then); 1 when it can't be initialised.
[[nodiscard]] int gstvideo_init(const video_config& settings);

// Starts the camera source pipe with that overlay scene file.
[[nodiscard]] bus_handle gstvideo_start_video_src(const char* overlay_file);

// Starts the display pipe, which shows what the source pipe publishes.
[[nodiscard]] bus_handle gstvideo_start_display();

// Starts the splash pipe: a still PNG picture under that overlay scene.
[[nodiscard]] bus_handle gstvideo_start_splash(const char* overlay_file, const char* image_path);

// Ends the display pipe when it exists; 0 always.
int gstvideo_stop_main_video();

// Starting a pipe by its number.
#pragma once

#include "video/registry.h"

// Where the overlay scene and the no-input picture stand on the sight.
inline constexpr const char* DEFAULT_OVERLAY_FILE = "/opt/okr/osd_okr/qml/main.qml";
inline constexpr const char* NO_INPUT_IMAGE = "/etc/no-video-input.png";

// Starts one of the live-view pipes. The descriptor is -1 when the pipe exists already, when it
// could not be started, and for media pipes: those start through their outputs only.
[[nodiscard]] bus_handle gstvideo_start_pipe(int pipe);

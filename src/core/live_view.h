// The live view in the daemon's life: started first, and replaced by the no-input picture when the
// camera is lost.
#pragma once

#include "video/registry.h"

// What the panel shows.
enum class live_view_state {
    none,     // neither of the two
    live,     // the camera's picture
    frozen,   // the same picture of the camera for two seconds
    no_input, // the picture that stands in for the camera's
};

[[nodiscard]] live_view_state get_live_view_state();

// Judges whether the picture is frozen; a change is logged. To be called once a second.
void watch_live_view();

// Brings an overlay that was built since the last call, whose scene knows nothing yet, to the
// present state. The first one is told at start-up instead, and none once the sight was handed
// over.
void refresh_new_overlay();

// The pipes that show the camera, as they were started. Their buses are not registered yet.
struct live_view {
    bus_handle src;
    bus_handle display;
};

// Initialises the video with the settings, with profiler elements or not, and starts the two pipes.
// A failure is an ERROR.
[[nodiscard]] live_view start_live_view(bool profile);

// To be called when a pipe has ended while the daemon goes on. A camera that is lost first ends the
// display; the display's end then brings the no-input picture and its notice. Pipes are told by
// number, so that a live view that a client rebuilt recovers as well.
void recover_live_view(int ended_pipe);

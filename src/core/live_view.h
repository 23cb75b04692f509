// Starts the live view and replaces it by the no-input picture when the camera is lost.
#pragma once

#include "video/registry.h"

// What the panel shows.
enum class live_view_state {
    none,     // nothing
    live,     // the camera's picture
    frozen,   // a camera picture that has not changed for two seconds
    no_input, // the no-input picture
};

[[nodiscard]] live_view_state get_live_view_state();

// Checks whether the picture is frozen and logs changes. Call once a second.
void watch_live_view();

// Sends the current state to an overlay that was built since the last call, since its scene knows
// nothing yet. Skips the first overlay, which gets its state at start-up, and does nothing after
// the hand-over.
void refresh_new_overlay();

// The camera's pipes after their start. Their buses are not registered yet.
struct live_view {
    bus_handle src;
    bus_handle display;
};

// Initialises the video with the settings, optionally with profiler elements, and starts the two
// pipes. A failure is an ERROR.
[[nodiscard]] live_view start_live_view(bool profile);

// Call when a pipe has ended while the daemon goes on. The end of the camera pipe stops the
// display; the end of the display starts the no-input picture and sends a notice. Goes by pipe
// number, so it also works for a live view rebuilt by a client.
void recover_live_view(int ended_pipe);

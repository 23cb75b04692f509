// Initialises GStreamer; starts and stops live-view pipes and media outputs.
//
// Every start returns a running pipe unchanged. Descriptor -1 means that the pipe could not be
// made. The caller registers the descriptors with the event aggregator.
#pragma once

#include "video/registry.h"
#include "video/settings.h"

#include <optional>

// Initialises GStreamer and copies the settings. Returns 0; also 0, ignoring the settings, when
// already initialised; 1 on failure.
[[nodiscard]] int gstvideo_init(const video_config& settings);

// --- Live view -------------------------------------------------------------------------------

// Starts the camera source pipe with that overlay scene.
[[nodiscard]] bus_handle gstvideo_start_video_src(const char* overlay_file);

// Starts the display pipe, which shows what the source pipe publishes.
[[nodiscard]] bus_handle gstvideo_start_display();

// Starts the splash pipe: a still PNG picture under that overlay scene.
[[nodiscard]] bus_handle gstvideo_start_splash(const char* overlay_file, const char* image_path);

// Ends the display pipe if it exists. Always returns 0.
int gstvideo_stop_main_video();

// Starts a pipe that clients may create. The descriptor is also -1 when the pipe exists already,
// and for pipes that only start through their outputs.
[[nodiscard]] bus_handle gstvideo_start_pipe(int pipe);

// --- Media outputs ---------------------------------------------------------------------------

// Each starts the branches that the current encoding type requires, then the output. None if the
// output doesn't exist for this type; if a pipe can't be made (those already made stay); and, with
// a warning and without changes, while the output or one of its branches is still ending. An
// unknown encoding type is fatal.

// Records into files named by the pattern: a path with "%02d" for the number of the file within the
// recording.
[[nodiscard]] std::optional<bus_list> gstvideo_start_record(const char* location_pattern);
// Serves the stream on that TCP port of all interfaces.
[[nodiscard]] std::optional<bus_list> gstvideo_start_stream(int port);
// Pushes to the URL; retries while the server is not there. None for sound only.
[[nodiscard]] std::optional<bus_list> gstvideo_start_http_stream(const char* url);

// Each ends the output if it exists, and with the last one the branches. Always returns 0. An
// unknown encoding type is fatal.
int gstvideo_stop_record();
int gstvideo_stop_stream();
int gstvideo_stop_http_stream();

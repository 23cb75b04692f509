// Starting and stopping: GStreamer itself, the pipes of the live view, and the media outputs.
//
// Every start returns what runs already as it is. A descriptor of -1 means that the pipe could not
// be made. The caller registers the descriptors with the event aggregator.
#pragma once

#include "video/registry.h"
#include "video/settings.h"

#include <optional>

// Initialises GStreamer and takes the settings. 0, also when GStreamer was up already (the settings
// are not taken then); 1 when it can't be initialised.
[[nodiscard]] int gstvideo_init(const video_config& settings);

// --- Live view -------------------------------------------------------------------------------

// Starts the camera source pipe with that overlay scene file.
[[nodiscard]] bus_handle gstvideo_start_video_src(const char* overlay_file);

// Starts the display pipe, which shows what the source pipe publishes.
[[nodiscard]] bus_handle gstvideo_start_display();

// Starts the splash pipe: a still PNG picture under that overlay scene.
[[nodiscard]] bus_handle gstvideo_start_splash(const char* overlay_file, const char* image_path);

// Ends the display pipe when it exists; 0 always.
int gstvideo_stop_main_video();

// Starts one of the pipes that clients may create. The descriptor is -1 also when the pipe exists
// already, and for the others: those start through their outputs only.
[[nodiscard]] bus_handle gstvideo_start_pipe(int pipe);

// --- Media outputs ---------------------------------------------------------------------------

// Each starts the branches that the output needs by the present encoding type, then the output.
// None when there is no such output of that type, when a pipe can't be made (those made before
// stay), and, with a warning and before anything is changed, while the output or one of its
// branches is still ending. An unknown encoding type is fatal.

// Records into files named by the pattern, a path with "%02d" for the number of the file within the
// recording.
[[nodiscard]] std::optional<bus_list> gstvideo_start_record(const char* location_pattern);
// Serves the stream on that TCP port of every interface.
[[nodiscard]] std::optional<bus_list> gstvideo_start_stream(int port);
// Pushes to the URL, again and again while the server is not there. None for sound alone.
[[nodiscard]] std::optional<bus_list> gstvideo_start_http_stream(const char* url);

// Each ends the output when it exists, and the branches with the last one; 0 always. An unknown
// encoding type is fatal.
int gstvideo_stop_record();
int gstvideo_stop_stream();
int gstvideo_stop_http_stream();

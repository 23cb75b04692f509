// The recording: a series of MP4 files of limited length.
#pragma once

#include "video/media_branches.h"

// Starts recording into files named by the pattern, a path with "%02d" for the number of the file
// within the recording. The pipes involved, to be registered by the caller; none when it can't
// start. A recording that runs goes on as it is.
[[nodiscard]] std::optional<bus_list> gstvideo_start_record(const char* location_pattern);

// Ends the recording when there is one. 0; -1 for an unknown encoding type.
[[nodiscard]] int gstvideo_stop_record();

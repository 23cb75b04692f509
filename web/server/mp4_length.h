// Duration of a recording.
#pragma once

#include "contained_folder.h"

#include <optional>

namespace web {

// Returns the duration in seconds from an MP4 file's index; none if the file is incomplete or not
// MP4.
[[nodiscard]] std::optional<double> mp4_seconds(const opened_file& file);

} // namespace web

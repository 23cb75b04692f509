// How long a recording is.
#pragma once

#include "contained_folder.h"

#include <optional>

namespace web {

// Seconds that an MP4 file plays, by its head; none when the file isn't one that was ended
// properly.
[[nodiscard]] std::optional<double> mp4_seconds(const opened_file& file);

} // namespace web

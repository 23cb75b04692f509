// Reads the status file of a board's daemon.
#pragma once

#include "board_folder.h"

#include <nlohmann/json.hpp>

namespace web {

// Returns the object in the status file; null without one, or if the process that wrote it has
// ended.
[[nodiscard]] nlohmann::json daemon_status(const board_folder& board);

} // namespace web

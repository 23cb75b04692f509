// What the daemon of a board says of itself in its status file.
#pragma once

#include "board_folder.h"

#include <nlohmann/json.hpp>

namespace web {

// The object in the status file; null without one, or when the process that wrote it is gone.
[[nodiscard]] nlohmann::json daemon_status(const board_folder& board);

} // namespace web

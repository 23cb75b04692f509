// Detects files in use, so that none is replaced while a program writes it.
#pragma once

#include <optional>
#include <string>

// Returns who else has this file open: "process 12 (vtrdc)", or "another process" if /proc doesn't
// show it; none if nobody has. The caller must have it open only once, for reading.
[[nodiscard]] std::optional<std::string> other_user_of(int file);

// Whether a file is in use, so that it is not replaced under a program that writes it.
#pragma once

#include <optional>
#include <string>

// Who else has this open file open: "process 12 (vtrdc)", or "another process" where /proc does not
// show whose it is. None when nobody has. The caller must have it open only once, for reading.
[[nodiscard]] std::optional<std::string> other_user_of(int file);

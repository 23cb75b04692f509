// Names for new files that collide with no existing file.
#pragma once

#include "core/imem.h"

#include <ctime>

// Returns the first time stamp from `moment` on, counting seconds, such that no name in the folder
// begins with the prefix and that stamp. A missing folder counts as empty. None without a time
// stamp, or, with a warning, when the folder can't be read.
[[nodiscard]] malloc_text get_free_timestamp(const char* folder, const char* prefix,
                                             std::time_t moment);

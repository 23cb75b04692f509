// Names for new files: none that a file has already.
#pragma once

#include "core/imem.h"

#include <ctime>

// The time stamp of the first second, from `moment` on, for which no name in the folder begins with
// the prefix and that stamp. A folder that isn't there holds no names. None when no stamp can be
// had, and with a warning when the folder can't be read.
[[nodiscard]] malloc_text get_free_timestamp(const char* folder, const char* prefix,
                                             std::time_t moment);

// Finds time stamps for the names of new files, so that no existing file is overwritten.
#pragma once

#include "core/imem.h"

#include <ctime>

// Returns the time stamp of `moment`, or that of the first later second for which no name in the
// folder begins with prefix and stamp. A missing folder counts as empty. Returns null if the time
// can't be formatted, or, with a warning, if the folder can't be read.
[[nodiscard]] malloc_text get_free_timestamp(const char* folder, const char* prefix,
                                             std::time_t moment);

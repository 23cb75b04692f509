// Files that only some users may read.
#pragma once

#include "util/file_owners.h"

// Opens the file, close-on-exec, with open()'s flags and the matching mode of a stream. A new file
// gets mode 0640, less the umask. None, with errno set, on failure.
[[nodiscard]] file_owner open_private_file(const char* path, int flags, const char* mode);

// Files that not everybody may read.
#pragma once

#include "util/file_owners.h"

// Opens the file with the flags of open() and a stream's mode that fits them, close-on-exec. One
// that has to be made is for its owner to write and for its group to read, less the umask. None,
// with errno set, when that fails.
[[nodiscard]] file_owner open_private_file(const char* path, int flags, const char* mode);

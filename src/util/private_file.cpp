// Files that only some users may read.
#include "util/private_file.h"

#include "util/fd_owned.h"
#include "util/sysroot.h"

#include <fcntl.h>

file_owner open_private_file(const char* path, int flags, const char* mode) {
    fd_owned fd{open(sysroot_path(path).c_str(), flags | O_CREAT | O_CLOEXEC, 0640)};
    file_owner file{fd ? fdopen(fd.get(), mode) : nullptr};
    if (file) {
        static_cast<void>(fd.release()); // now owned by the stream
    }
    return file;
}

// All file descriptors of the process.
#include "util/descriptors.h"

#include "util/file_owners.h"

#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

// close_range() needs glibc 2.34 and Linux 5.9. Older headers lack its system call number, which is
// the same on every processor, and its flag.
#ifdef SYS_close_range
constexpr long CLOSE_RANGE_CALL = SYS_close_range;
#else
constexpr long CLOSE_RANGE_CALL = 436;
#endif
constexpr unsigned CLOSE_ON_EXEC = 1U << 2; // since Linux 5.11

// Closes the descriptors from `first` on, or marks them close-on-exec. Returns false if the kernel
// can't.
bool close_from(unsigned first, unsigned flags) {
    return syscall(CLOSE_RANGE_CALL, first, ~0U, flags) == 0;
}

void mark_one_by_one() {
    const folder_owner folder{opendir("/proc/self/fd")};
    if (!folder) {
        return;
    }
    while (const dirent* entry = readdir(folder.get())) {
        const int fd = std::atoi(entry->d_name);
        if (fd > STDERR_FILENO) {
            fcntl(fd, F_SETFD, FD_CLOEXEC);
        }
    }
}

} // namespace

// Prefers the single system call: the descriptor limit may be 10^9.
void close_all_descriptors() {
    if (close_from(0, 0)) {
        return;
    }
    for (long fd = sysconf(_SC_OPEN_MAX); fd >= 0; --fd) {
        close(static_cast<int>(fd));
    }
}

void keep_descriptors_from_programs() {
    if (!close_from(STDERR_FILENO + 1, CLOSE_ON_EXEC)) {
        mark_one_by_one();
    }
}

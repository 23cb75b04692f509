// Preloaded into the daemon: writes into a media folder, or only fsync calls, block while a file of
// the test exists, as on dead storage. Unlike blocked kernel calls, they end with the process.
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <dlfcn.h>
#include <string_view>
#include <sys/uio.h>
#include <unistd.h>

namespace {

bool is_media(int fd) {
    char link[64];
    char path[PATH_MAX];
    std::snprintf(link, sizeof link, "/proc/self/fd/%d", fd);
    const ssize_t length = readlink(link, path, sizeof path);
    return length > 0 && std::string_view{path, static_cast<std::size_t>(length)}.find(
                             "/media/video/") != std::string_view::npos;
}

void wait_for_storage(int fd) {
    static const char* const marker = std::getenv("VTRDC_TEST_STALLED");
    while (marker != nullptr && access(marker, F_OK) == 0 && is_media(fd)) {
        const timespec moment{0, 10'000'000};
        nanosleep(&moment, nullptr);
    }
}

void wait_to_write(int fd) {
    static const bool writes_pass = std::getenv("VTRDC_TEST_WRITES_PASS") != nullptr;
    if (!writes_pass) {
        wait_for_storage(fd);
    }
}

template <class Function> Function* next(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

} // namespace

extern "C" {

// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name): the C library's are reserved
ssize_t write(int fd, const void* data, size_t size) {
    static auto* const real = next<ssize_t(int, const void*, size_t)>("write");
    wait_to_write(fd);
    return real(fd, data, size);
}

ssize_t writev(int fd, const iovec* parts, int count) {
    static auto* const real = next<ssize_t(int, const iovec*, int)>("writev");
    wait_to_write(fd);
    return real(fd, parts, count);
}
// NOLINTEND(readability-inconsistent-declaration-parameter-name)

int fsync(int fd) {
    static auto* const real = next<int(int)>("fsync");
    wait_for_storage(fd);
    return real(fd);
}

} // extern "C"

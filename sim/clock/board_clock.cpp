// Preloaded into the daemon of a simulated board: the wall clock that the board has. A file of the
// board says by how many seconds it is ahead of the PC's; it may change at any time. All other
// clocks stay as they are.
#include <array>
#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <ctime>
#include <dlfcn.h>
#include <fcntl.h>
#include <string>
#include <sys/time.h>
#include <unistd.h>

namespace {

// A 32-bit processor has a call of its own for times of 64 bits; the definition below takes its
// name.
constexpr const char* READ_CLOCK = sizeof(time_t) > sizeof(long) ? "__clock_gettime64"
                                                                 : "clock_gettime";

int read_real_clock(clockid_t clock, timespec* now) {
    using function = int(clockid_t, timespec*);
    static auto* const real = reinterpret_cast<function*>(dlsym(RTLD_NEXT, READ_CLOCK));
    return real(clock, now);
}

const std::string& setting_file() {
    static const std::string path = [] {
        const char* const board = secure_getenv("VTRDC_SYSROOT");
        return std::string{board != nullptr ? board : ""} + "/var/lib/clock";
    }();
    return path;
}

// Read each time: the wall clock is asked for seldom. 0 without the file.
time_t seconds_ahead() {
    const int error = errno;
    const int file = open(setting_file().c_str(), O_RDONLY | O_CLOEXEC);
    std::array<char, 32> text{};
    const ssize_t length = file >= 0 ? read(file, text.data(), text.size()) : 0;
    if (file >= 0) {
        close(file);
    }
    errno = error;
    time_t seconds = 0;
    if (length > 0) {
        std::from_chars(text.data(), text.data() + length, seconds);
    }
    return seconds;
}

} // namespace

// The names of the parameters there are reserved.
// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name)
extern "C" {

int clock_gettime(clockid_t clock, timespec* now) noexcept {
    const int result = read_real_clock(clock, now);
    if (result == 0 && (clock == CLOCK_REALTIME || clock == CLOCK_REALTIME_COARSE)) {
        now->tv_sec += seconds_ahead();
    }
    return result;
}

time_t time(time_t* now) noexcept {
    timespec read{};
    clock_gettime(CLOCK_REALTIME, &read);
    if (now != nullptr) {
        *now = read.tv_sec;
    }
    return read.tv_sec;
}

int gettimeofday(timeval* now, void* /*zone*/) noexcept {
    timespec read{};
    const int result = clock_gettime(CLOCK_REALTIME, &read);
    now->tv_sec = read.tv_sec;
    now->tv_usec = static_cast<suseconds_t>(read.tv_nsec / 1000);
    return result;
}

} // extern "C"
// NOLINTEND(readability-inconsistent-declaration-parameter-name)

// The one-second timer and the housekeeping that its ticks drive.
#include "core/timer.h"

#include "core/log.h"

#include <cstdint>
#include <sys/timerfd.h>
#include <unistd.h>

namespace {

// Owned; -1 while there is no timer.
int timerfd = -1;

constexpr itimerspec timer_config{.it_interval = {1, 0}, .it_value = {1, 0}};

} // namespace

int timer_init() {
    timerfd = timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC);
    if (timerfd < 0) {
        log_message(LEVEL_ERROR, "Failed to create timer fd\n");
    }
    if (timerfd_settime(timerfd, 0, &timer_config, nullptr) != 0) {
        log_message(LEVEL_ERROR, "Could not start timer\n");
    }
    return timerfd;
}

long timer_read() {
    std::uint64_t expirations = 0;
    return read(timerfd, &expirations, sizeof expirations);
}

void timer_close() {
    if (timerfd >= 0) {
        close(timerfd);
        timerfd = -1;
    }
}

void process_timer() {
    timer_read();
}

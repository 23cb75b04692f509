// The one-second timer and the housekeeping on its ticks.
#include "core/timer.h"

#include "config/cfg.h"
#include "control/actions_media.h"
#include "core/failures.h"
#include "core/log.h"
#include "osd/notices.h"
#include "osd/redis_message_broker.h"
#include "util/files.h"
#include "util/tools.h"
#include "video/start.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <sys/timerfd.h>
#include <unistd.h>

namespace {

// Owned; -1 without a timer.
int timerfd = -1;

constexpr itimerspec timer_config{.it_interval = {1, 0}, .it_value = {1, 0}};

// Counts ticks up to its limit. With this start value the shutter corrections come 2 and 12 seconds
// after start-up.
int counter = 9;
constexpr int COUNTER_LIMIT = 100;
constexpr std::array fast_nuc_counts{10, 20};

// The core drifts while it warms up. Shows no icon; runs under an outside controller too.
void correct_shutter_after_start() {
    if (global_config.nuc_type == 0 &&
        std::ranges::find(fast_nuc_counts, counter) != fast_nuc_counts.end()) {
        static_cast<void>(exec_system_cmd("vtrcore fast-nuc"));
    }
}

void watch_free_space() {
    if (gstvideo_is_playing(PIPE_RECORD) == 0) {
        return;
    }
    if (has_enough_space(global_config.media_path, RECORD_BYTES) != 0) {
        log_message(LEVEL_DEBUG, "Enough space to continue recoding.");
        return;
    }
    static_cast<void>(gstvideo_stop_record());
    log_failure(failure_kind::storage, "Ran out of space while recording video.");
    send_mb_event(NOTICE_OUT_OF_SPACE);
}

} // namespace

int timer_init() {
    timerfd = timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC);
    if (timerfd < 0) {
        log_fatal("Failed to create timer fd\n");
    }
    if (timerfd_settime(timerfd, 0, &timer_config, nullptr) != 0) {
        log_fatal("Could not start timer\n");
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
    correct_shutter_after_start();
    if (counter < COUNTER_LIMIT) {
        ++counter;
    }
    watch_free_space();
}

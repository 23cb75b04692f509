// A non-blocking inotify descriptor on one folder.
#include "folder_watch.h"

#include "pixels.h"

#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <utility>

namespace sim {
namespace {

// A caller asks once a picture, so this is a second.
constexpr unsigned calls_between_tries = sensor_rate;

// Complete files only: a write is seen when its file is closed.
constexpr unsigned watched_events =
    IN_CLOSE_WRITE | IN_MOVED_TO | IN_MOVED_FROM | IN_DELETE | IN_DELETE_SELF;

} // namespace

folder_watch::folder_watch(std::string folder)
    : folder_(std::move(folder)), notify_fd_(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
    ensure_watched();
}

folder_watch::~folder_watch() {
    if (notify_fd_ >= 0) {
        close(notify_fd_);
    }
}

bool folder_watch::ensure_watched() {
    if (calls_until_retry_ > 0) {
        --calls_until_retry_;
        return false;
    }
    calls_until_retry_ = calls_between_tries;
    watch_ = inotify_add_watch(notify_fd_, folder_.c_str(), watched_events);
    return watch_ >= 0;
}

bool folder_watch::changed() {
    if (watch_ < 0) {
        return ensure_watched();
    }
    alignas(inotify_event) std::array<char, 4096> events{};
    bool any = false;
    for (;;) {
        const ssize_t size = read(notify_fd_, events.data(), events.size());
        if (size <= 0) {
            return any;
        }
        any = true;
        for (ssize_t at = 0; at < size;) {
            const auto* event = reinterpret_cast<const inotify_event*>(events.data() + at);
            if ((event->mask & IN_IGNORED) != 0) {
                watch_ = -1; // the folder itself is gone
            }
            at += static_cast<ssize_t>(sizeof *event + event->len);
        }
    }
}

} // namespace sim

// A non-blocking inotify descriptor on one folder.
#include "folder_watch.h"

#include "pixels.h"

#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <string_view>
#include <utility>

namespace sim {
namespace {

// A caller asks once a picture, so this is a second.
constexpr unsigned calls_between_tries = sensor_rate;

// Complete files only: a write is seen when its file is closed.
constexpr unsigned watched_events =
    IN_CLOSE_WRITE | IN_MOVED_TO | IN_MOVED_FROM | IN_DELETE | IN_DELETE_SELF;

} // namespace

folder_watch::folder_watch(std::string folder, const std::vector<std::string>& others)
    : folder_(std::move(folder)), notify_fd_(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
    ensure_watched();
    for (const std::string& other : others) {
        inotify_add_watch(notify_fd_, other.c_str(), watched_events);
    }
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
    bool any = watch_ < 0 && ensure_watched();
    alignas(inotify_event) std::array<char, 4096> events{};
    ssize_t size = 0;
    while ((size = read(notify_fd_, events.data(), events.size())) > 0) {
        const bool counts = take_events(std::span(events).first(static_cast<std::size_t>(size)));
        any = any || counts;
    }
    return any;
}

// True when one of them counts.
bool folder_watch::take_events(std::span<const char> events) {
    bool any = false;
    while (!events.empty()) {
        const auto* const event = reinterpret_cast<const inotify_event*>(events.data());
        if (event->wd == watch_ && (event->mask & IN_IGNORED) != 0) {
            watch_ = -1; // the folder itself is gone
        }
        const std::string_view name = event->len > 0 ? event->name : "";
        any = any || !(name.starts_with('.') || name.ends_with('~'));
        events = events.subspan(sizeof *event + event->len);
    }
    return any;
}

} // namespace sim

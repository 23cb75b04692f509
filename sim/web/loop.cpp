// What waits in the main loop: timers, descriptors, and changes of files.
#include "loop.h"

#include <glib-unix.h>

#include <array>
#include <sys/inotify.h>
#include <unistd.h>
#include <utility>

namespace sim {
namespace {

constexpr std::chrono::seconds folder_retry{1};

// A log is written to bit by bit: what is written counts before its file is closed.
constexpr unsigned watched_events = IN_MODIFY | IN_CLOSE_WRITE | IN_CREATE | IN_DELETE |
                                    IN_MOVED_FROM | IN_MOVED_TO | IN_DELETE_SELF | IN_MOVE_SELF;

} // namespace

void timer::once(std::chrono::milliseconds after, std::function<void()> task) {
    start(after, std::move(task), false);
}

void timer::every(std::chrono::milliseconds interval, std::function<void()> task) {
    start(interval, std::move(task), true);
}

void timer::start(std::chrono::milliseconds interval, std::function<void()> task, bool repeats) {
    stop();
    task_ = std::move(task);
    repeats_ = repeats;
    source_ = g_timeout_add(static_cast<guint>(interval.count()), on_time, this);
}

void timer::stop() {
    if (source_ != 0) {
        g_source_remove(std::exchange(source_, 0));
    }
}

gboolean timer::on_time(gpointer self) noexcept {
    auto* const waiting = static_cast<timer*>(self);
    const bool repeats = waiting->repeats_;
    if (!repeats) {
        waiting->source_ = 0;
    }
    // A copy, since the task may set the timer anew, or end it.
    const std::function<void()> task = waiting->task_;
    task();
    return repeats ? G_SOURCE_CONTINUE : G_SOURCE_REMOVE;
}

void descriptor_watch::start(int descriptor, GIOCondition condition, std::function<void()> task) {
    stop();
    task_ = std::move(task);
    const auto conditions = static_cast<GIOCondition>(condition | G_IO_HUP | G_IO_ERR);
    source_ = g_unix_fd_add(descriptor, conditions, on_ready, this);
}

void descriptor_watch::stop() {
    if (source_ != 0) {
        g_source_remove(std::exchange(source_, 0));
    }
}

gboolean descriptor_watch::on_ready(gint /*descriptor*/, GIOCondition /*condition*/,
                                    gpointer self) noexcept {
    // A copy, since the task may end the watch.
    const std::function<void()> task = static_cast<descriptor_watch*>(self)->task_;
    task();
    return G_SOURCE_CONTINUE;
}

file_watch::file_watch(std::function<void(const std::string&, const std::string&)> task,
                       touches touched)
    : task_(std::move(task)),
      events_wanted_(touched == touches::told ? watched_events | IN_ATTRIB : watched_events),
      notify_(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
    events_.start(notify_.number(), G_IO_IN, [this] { read_events(); });
}

void file_watch::add(const std::string& folder) {
    wanted_.try_emplace(folder, false);
    try_folders();
}

void file_watch::try_folders() {
    bool all = true;
    for (auto& [folder, watched] : wanted_) {
        if (watched) {
            continue;
        }
        const int number = inotify_add_watch(notify_.number(), folder.c_str(), events_wanted_);
        watched = number >= 0;
        all = all && watched;
        if (watched) {
            folders_[number] = folder;
            task_(folder, {}); // whatever may be in there by now
        }
    }
    if (!all) {
        retry_.once(folder_retry, [this] { try_folders(); });
    }
}

void file_watch::read_events() {
    alignas(inotify_event) std::array<char, 16384> events{};
    for (;;) {
        const ssize_t size = read(notify_.number(), events.data(), events.size());
        if (size <= 0) {
            return;
        }
        for (ssize_t at = 0; at < size;) {
            const auto* const event = reinterpret_cast<const inotify_event*>(events.data() + at);
            at += static_cast<ssize_t>(sizeof *event + event->len);
            const auto folder = folders_.find(event->wd);
            if (folder == folders_.end()) {
                continue;
            }
            const std::string path = folder->second;
            if ((event->mask & (IN_IGNORED | IN_MOVE_SELF)) != 0) {
                folders_.erase(folder);
                wanted_[path] = false;
                retry_.once(folder_retry, [this] { try_folders(); });
            }
            task_(path, event->len > 0 ? event->name : "");
        }
    }
}

} // namespace sim

// Timers, descriptors and file changes in the main loop.
#include "loop.h"

#include <glib-unix.h>

#include <utility>

namespace web {

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
    // A copy: the task may restart or stop the timer.
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
    // A copy: the task may end the watch.
    const std::function<void()> task = static_cast<descriptor_watch*>(self)->task_;
    task();
    return G_SOURCE_CONTINUE;
}

file_watch::file_watch(std::function<void(const std::string&, const std::string&)> task,
                       touches touched)
    : task_(std::move(task)),
      folders_(touched == touches::told ? sim::folder_watch::counting::every_touch
                                        : sim::folder_watch::counting::every_write) {
    events_.start(folders_.descriptor(), G_IO_IN, [this] { tell_changes(); });
}

void file_watch::add(const std::string& folder) {
    folders_.add(folder);
    task_(folder, {}); // report the present content
}

void file_watch::tell_changes() {
    // A copy: the task may end the watch.
    const auto task = task_;
    for (const sim::folder_watch::change& each : folders_.changes()) {
        task(each.folder, each.name);
    }
}

} // namespace web

// Timers, descriptors and file changes in the main loop. Each is active while its object exists.
// Main thread only.
#pragma once

#include "folder_watch.h"

#include <glib.h>

#include <chrono>
#include <functional>
#include <string>

namespace web {

// Calls a task once after some time, or repeatedly.
class timer {
public:
    timer() = default;
    timer(const timer&) = delete;
    timer& operator=(const timer&) = delete;
    ~timer() { stop(); }

    // Replaces an earlier setting.
    void once(std::chrono::milliseconds after, std::function<void()> task);
    void every(std::chrono::milliseconds interval, std::function<void()> task);
    void stop();
    [[nodiscard]] bool is_waiting() const { return source_ != 0; }

private:
    void start(std::chrono::milliseconds interval, std::function<void()> task, bool repeats);
    static gboolean on_time(gpointer self) noexcept;

    guint source_ = 0;
    bool repeats_ = false;
    std::function<void()> task_;
};

// Calls whenever a borrowed descriptor is ready for `condition`, or has hung up.
class descriptor_watch {
public:
    descriptor_watch() = default;
    descriptor_watch(const descriptor_watch&) = delete;
    descriptor_watch& operator=(const descriptor_watch&) = delete;
    ~descriptor_watch() { stop(); }

    void start(int descriptor, GIOCondition condition, std::function<void()> task);
    void stop();

private:
    static gboolean on_ready(gint descriptor, GIOCondition condition, gpointer self) noexcept;

    guint source_ = 0;
    std::function<void()> task_;
};

// Whether to report files that are only touched. Pictures of the panel are written through a
// mapping, which causes no event; its file is touched instead, thirty times a second.
enum class touches { ignored, told };

// Calls with a folder and the name of a file in it that was added, removed or written to (even
// partly). The name is empty when the folder itself is added, removed or replaced.
class file_watch {
public:
    explicit file_watch(
        std::function<void(const std::string& folder, const std::string& name)> task,
        touches touched = touches::ignored);
    file_watch(const file_watch&) = delete;
    file_watch& operator=(const file_watch&) = delete;

    void add(const std::string& folder);

private:
    void tell_changes();

    const std::function<void(const std::string&, const std::string&)> task_;
    sim::folder_watch folders_;
    descriptor_watch events_;
};

} // namespace web

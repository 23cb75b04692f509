// What waits in the main loop: timers, descriptors, and changes of files. Each waits as long as its
// object lives; all are of the main thread.
#pragma once

#include "descriptor.h"

#include <glib.h>

#include <chrono>
#include <functional>
#include <map>
#include <string>

namespace sim {

// A call after a while, or again and again.
class timer {
public:
    timer() = default;
    timer(const timer&) = delete;
    timer& operator=(const timer&) = delete;
    ~timer() { stop(); }

    // Forgets what it waited for before.
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

// Calls whenever a borrowed descriptor is ready for `condition`, or hung up.
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

// Whether a file that is only touched is told of: a picture of the panel is written through a
// mapping, which tells nobody, and then its file is touched, thirty times a second.
enum class touches { ignored, told };

// Calls with a folder and the name in it of each file that came, went or was written to.
// A folder that is missing, or goes, is looked for once a second.
class file_watch {
public:
    explicit file_watch(
        std::function<void(const std::string& folder, const std::string& name)> task,
        touches touched = touches::ignored);
    file_watch(const file_watch&) = delete;
    file_watch& operator=(const file_watch&) = delete;

    void add(const std::string& folder);

private:
    void try_folders();
    void read_events();

    const std::function<void(const std::string&, const std::string&)> task_;
    const unsigned events_wanted_; // as inotify has them
    const descriptor notify_;
    std::map<int, std::string> folders_; // by inotify's number
    std::map<std::string, bool> wanted_; // whether it is watched
    descriptor_watch events_;
    timer retry_;
};

} // namespace sim

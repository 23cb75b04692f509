// Watches folders, and the paths to them, with a non-blocking inotify descriptor.
//
// A watch follows a folder that is moved, and a missing folder can't be watched. So each folder on
// the way is watched for the name of the next.
#include "folder_watch.h"

#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <list>
#include <string_view>
#include <system_error>
#include <utility>

namespace fs = std::filesystem;

namespace sim {
namespace {

// The missing target of a link may appear in a folder that is only on the way.
constexpr unsigned EVENTS_ON_THE_WAY =
    IN_CREATE | IN_MOVED_TO | IN_MOVED_FROM | IN_DELETE | IN_CLOSE_WRITE;

// The kernel's limit.
constexpr int LINKS_MAX = 40;

unsigned events_in_folder(folder_watch::counting what) {
    switch (what) {
    case folder_watch::counting::every_touch:
        return EVENTS_ON_THE_WAY | IN_MODIFY | IN_ATTRIB;
    case folder_watch::counting::every_write:
        return EVENTS_ON_THE_WAY | IN_MODIFY;
    case folder_watch::counting::whole_files:
        break;
    }
    return EVENTS_ON_THE_WAY;
}

// A file with a second hard link was complete before.
bool is_being_written(const fs::path& created) {
    std::error_code gone;
    return fs::is_regular_file(fs::symlink_status(created, gone)) &&
           fs::hard_link_count(created, gone) == 1;
}

bool is_kept_beside(std::string_view name) {
    return name.starts_with('.') || name.ends_with('~');
}

} // namespace

folder_watch::folder_watch(counting what)
    : what_(what), notify_fd_(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {}

folder_watch::folder_watch(fs::path folder, std::vector<fs::path> others)
    : folder_watch(counting::whole_files) {
    for (fs::path& other : others) {
        add(std::move(other));
    }
    add(std::move(folder));
}

folder_watch::~folder_watch() {
    if (notify_fd_ >= 0) {
        close(notify_fd_);
    }
}

void folder_watch::add(fs::path path) {
    watch(*paths_.insert(std::move(path)).first);
}

void folder_watch::watch_anew() {
    const auto before = std::exchange(folders_, {});
    for (const fs::path& path : paths_) {
        watch(path);
    }
    for (const auto& [number, folder] : before) {
        if (!folders_.contains(number)) {
            inotify_rm_watch(notify_fd_, number);
        }
    }
}

void folder_watch::watch(const fs::path& path) {
    const fs::path end = watch_way(path);
    std::error_code missing;
    const bool is_file = fs::is_regular_file(end, missing);
    if (auto* const folder =
            watch_folder(is_file ? end.parent_path() : end, events_in_folder(what_))) {
        folder->ends.insert(path);
    }
}

// Resolves a path as the kernel would, and returns it without links. Watches each folder before
// looking into it, so that no change is missed; skips those that can't be watched.
fs::path folder_watch::watch_way(const fs::path& path) {
    std::error_code error;
    const fs::path start = fs::absolute(path, error);
    std::list<fs::path> rest(start.begin(), start.end());
    fs::path done;
    int links = 0;
    while (!rest.empty()) {
        const fs::path name = std::move(rest.front());
        rest.pop_front();
        if (name.is_absolute()) {
            done = name;
        } else if (name == "..") {
            done = done.parent_path();
        } else if (!name.empty() && name != ".") {
            if (auto* const folder = watch_folder(done, EVENTS_ON_THE_WAY)) {
                folder->names[name].insert(path);
            }
            done /= name;
            const fs::path target = fs::read_symlink(done, error);
            if (!target.empty() && ++links <= LINKS_MAX) {
                done = done.parent_path();
                rest.insert(rest.begin(), target.begin(), target.end());
            }
        }
    }
    return done;
}

// None when the folder is missing or unreadable.
folder_watch::watched_folder* folder_watch::watch_folder(const fs::path& folder, unsigned events) {
    const int number =
        inotify_add_watch(notify_fd_, folder.c_str(), events | IN_MASK_ADD | IN_ONLYDIR);
    if (number < 0) {
        return nullptr;
    }
    watched_folder& watched = folders_[number];
    watched.path = folder;
    return &watched;
}

std::vector<folder_watch::change> folder_watch::changes() {
    std::vector<change> told;
    alignas(inotify_event) std::array<char, 4096> events{};
    ssize_t size = 0;
    while ((size = read(notify_fd_, events.data(), events.size())) > 0) {
        take_events(std::span(events).first(static_cast<std::size_t>(size)), told);
    }
    if (std::exchange(is_other_way_, false)) {
        watch_anew();
    }
    return told;
}

void folder_watch::take_events(std::span<const char> events, std::vector<change>& told) {
    while (!events.empty()) {
        const auto* const event = reinterpret_cast<const inotify_event*>(events.data());
        take(*event, told);
        events = events.subspan(sizeof *event + event->len);
    }
}

void folder_watch::take(const inotify_event& event, std::vector<change>& told) {
    if ((event.mask & IN_Q_OVERFLOW) != 0) {
        take_other_way(paths_, told); // events were lost: anything may have changed
        return;
    }
    const auto found = folders_.find(event.wd);
    if (found == folders_.end()) {
        return; // of a folder that is no longer watched
    }
    const watched_folder& folder = found->second;
    if (event.len == 0) { // about the folder itself
        take_other_way(folder.ends, told);
        for (const auto& [name, paths] : folder.names) {
            take_other_way(paths, told);
        }
        return;
    }
    if (is_left_out(folder, event)) {
        return;
    }
    if (const auto on_the_way = folder.names.find(event.name); on_the_way != folder.names.end()) {
        take_other_way(on_the_way->second, told);
    }
    if (what_ != counting::whole_files || !is_kept_beside(event.name)) {
        for (const fs::path& end : folder.ends) {
            told.push_back({end, event.name});
        }
    }
}

bool folder_watch::is_left_out(const watched_folder& folder, const inotify_event& event) const {
    return what_ == counting::whole_files && (event.mask & IN_CREATE) != 0 &&
           is_being_written(folder.path / event.name);
}

void folder_watch::take_other_way(const path_set& paths, std::vector<change>& told) {
    is_other_way_ = true;
    for (const fs::path& path : paths) {
        told.push_back({path, {}});
    }
}

} // namespace sim

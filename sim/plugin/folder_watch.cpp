// A non-blocking inotify descriptor on folders, and on the way that leads to each.
//
// A watch stays with a folder when that is moved away, and a missing folder can't be watched. So
// every folder on the way is watched for the one name in it that leads on.
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

constexpr unsigned events_on_the_way = IN_CREATE | IN_MOVED_TO | IN_MOVED_FROM | IN_DELETE;
constexpr unsigned events_in_folder = events_on_the_way | IN_CLOSE_WRITE;

// As many as the kernel follows.
constexpr int max_links = 40;

// A new file counts when it is closed. One that has a second name was complete before.
bool is_being_written(const fs::path& created) {
    std::error_code gone;
    return fs::is_regular_file(fs::symlink_status(created, gone)) &&
           fs::hard_link_count(created, gone) == 1;
}

} // namespace

folder_watch::folder_watch(fs::path folder, std::vector<fs::path> others)
    : paths_(std::move(others)), notify_fd_(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
    paths_.push_back(std::move(folder));
    watch_paths();
}

folder_watch::~folder_watch() {
    if (notify_fd_ >= 0) {
        close(notify_fd_);
    }
}

void folder_watch::watch_paths() {
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
    if (auto* const folder = add(is_file ? end.parent_path() : end, events_in_folder)) {
        folder->whole = true;
    }
}

// Goes where the kernel would, and returns the path without links. A folder is watched before what
// it names is looked at, so that no later change is missed; those that can't be are passed over.
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
            if (auto* const folder = add(done, events_on_the_way)) {
                folder->names.insert(name);
            }
            done /= name;
            const fs::path target = fs::read_symlink(done, error);
            if (!target.empty() && ++links <= max_links) {
                done = done.parent_path();
                rest.insert(rest.begin(), target.begin(), target.end());
            }
        }
    }
    return done;
}

// None when there is no such folder, or it can't be read.
folder_watch::watched_folder* folder_watch::add(const fs::path& folder, unsigned events) {
    const int number =
        inotify_add_watch(notify_fd_, folder.c_str(), events | IN_MASK_ADD | IN_ONLYDIR);
    if (number < 0) {
        return nullptr;
    }
    watched_folder& watched = folders_[number];
    watched.path = folder;
    return &watched;
}

bool folder_watch::changed() {
    bool any = false;
    alignas(inotify_event) std::array<char, 4096> events{};
    ssize_t size = 0;
    while ((size = read(notify_fd_, events.data(), events.size())) > 0) {
        const bool counts = take_events(std::span(events).first(static_cast<std::size_t>(size)));
        any = any || counts;
    }
    if (any) {
        watch_paths();
    }
    return any;
}

// True when one of them counts.
bool folder_watch::take_events(std::span<const char> events) const {
    bool any = false;
    while (!events.empty()) {
        const auto* const event = reinterpret_cast<const inotify_event*>(events.data());
        any = any || counts(*event);
        events = events.subspan(sizeof *event + event->len);
    }
    return any;
}

bool folder_watch::counts(const inotify_event& event) const {
    if ((event.mask & IN_Q_OVERFLOW) != 0) {
        return true; // whatever was lost
    }
    const auto found = folders_.find(event.wd);
    if (found == folders_.end()) {
        return false; // of a folder that is no longer watched
    }
    if (event.len == 0) {
        return true; // the folder itself is gone
    }
    const watched_folder& folder = found->second;
    const std::string_view name = event.name;
    const bool is_kept_beside = name.starts_with('.') || name.ends_with('~');
    return ((folder.whole && !is_kept_beside) || folder.names.contains(event.name)) &&
           !((event.mask & IN_CREATE) != 0 && is_being_written(folder.path / name));
}

} // namespace sim

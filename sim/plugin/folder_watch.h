// Tells when files in a folder were written, renamed or removed, without looking at each of them.
#pragma once

#include <filesystem>
#include <map>
#include <set>
#include <span>
#include <string>
#include <vector>

struct inotify_event;

namespace sim {

class folder_watch {
public:
    // Others may be watched beside the folder; where one is a file, the folder that it lies in.
    // What a path leads to may be a link, missing, or replaced at any time, and so may each folder
    // on the way: that is a change, and from then on what is there now is watched.
    explicit folder_watch(std::filesystem::path folder,
                          std::vector<std::filesystem::path> others = {});
    ~folder_watch();
    folder_watch(const folder_watch&) = delete;
    folder_watch& operator=(const folder_watch&) = delete;

    // True when something changed since the last call. Never blocks. Files that editors keep beside
    // others don't count: names that begin with a dot or end in a tilde.
    [[nodiscard]] bool changed();

    // Can be read when asking is worthwhile. Borrowed; negative where the system has no more.
    [[nodiscard]] int descriptor() const { return notify_fd_; }

private:
    struct watched_folder {
        std::filesystem::path path;  // without links
        std::set<std::string> names; // those that a watched path leads over
        bool whole = false;          // all in it counts
    };

    void watch_paths();
    void watch(const std::filesystem::path& path);
    std::filesystem::path watch_way(const std::filesystem::path& path);
    watched_folder* add(const std::filesystem::path& folder, unsigned events);
    [[nodiscard]] bool take_events(std::span<const char> events) const;
    [[nodiscard]] bool counts(const inotify_event& event) const;

    std::vector<std::filesystem::path> paths_;
    int notify_fd_;
    std::map<int, watched_folder> folders_; // by inotify's number
};

} // namespace sim

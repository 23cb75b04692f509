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
    enum class counting {
        whole_files, // one that is written counts when it is closed; those that editors keep beside
                     // others don't: names that begin with a dot or end in a tilde
        every_write, // as soon as it is there, and whenever something is written to it
        every_touch, // also its times and its rights
    };

    struct change {
        std::filesystem::path folder; // as it was given
        std::string name;             // of the file in it; empty: it is another one, or may be
    };

    explicit folder_watch(counting what);
    // Others may be watched beside the folder. Whole files count.
    explicit folder_watch(std::filesystem::path folder,
                          std::vector<std::filesystem::path> others = {});
    ~folder_watch();
    folder_watch(const folder_watch&) = delete;
    folder_watch& operator=(const folder_watch&) = delete;

    // Where the path is a file's, watches the folder that it lies in. What it leads to may be a
    // link, missing, or replaced at any time, and so may each folder on the way: that is a change,
    // and from then on what is there now is watched.
    void add(std::filesystem::path path);

    // What changed since the last call, in order. Never blocks.
    [[nodiscard]] std::vector<change> changes();
    [[nodiscard]] bool changed() { return !changes().empty(); }

    // Can be read when asking is worthwhile. Borrowed; negative where the system has no more.
    [[nodiscard]] int descriptor() const { return notify_fd_; }

private:
    using path_set = std::set<std::filesystem::path>;

    struct watched_folder {
        std::filesystem::path path;            // without links
        std::map<std::string, path_set> names; // those that watched paths lead over
        path_set ends;                         // the watched paths that end here: all in it counts
    };

    void watch_anew();
    void watch(const std::filesystem::path& path);
    std::filesystem::path watch_way(const std::filesystem::path& path);
    watched_folder* watch_folder(const std::filesystem::path& folder, unsigned events);
    void take_events(std::span<const char> events, std::vector<change>& told);
    void take(const inotify_event& event, std::vector<change>& told);
    [[nodiscard]] bool is_left_out(const watched_folder& folder, const inotify_event& event) const;
    void take_other_way(const path_set& paths, std::vector<change>& told);

    const counting what_;
    path_set paths_;
    int notify_fd_;
    std::map<int, watched_folder> folders_; // by inotify's number
    bool is_other_way_ = false;             // what is watched may be no longer what paths lead to
};

} // namespace sim

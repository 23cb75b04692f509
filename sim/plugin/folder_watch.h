// Reports files in a folder that were written, renamed or removed.
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
        whole_files, // reports a written file when it is closed; ignores
                     // editors' files: names that begin with a dot or end in a tilde
        every_write, // reports creation and every write
        every_touch, // also changes of times and permissions
    };

    struct change {
        std::filesystem::path folder; // as passed by the caller
        std::string name;             // file in the folder; empty: the folder itself, or unknown
    };

    explicit folder_watch(counting what);
    // More folders can be added. Reports whole files.
    explicit folder_watch(std::filesystem::path folder,
                          std::vector<std::filesystem::path> others = {});
    ~folder_watch();
    folder_watch(const folder_watch&) = delete;
    folder_watch& operator=(const folder_watch&) = delete;

    // For a file, watches its folder. Links, missing folders and replacements are allowed anywhere
    // on the path: such a change is reported, and the new target is watched.
    void add(std::filesystem::path path);

    // Returns the changes since the last call, in order. Never blocks.
    [[nodiscard]] std::vector<change> changes();
    [[nodiscard]] bool changed() { return !changes().empty(); }

    // Readable when changes() has news. Borrowed; negative if the system has no more inotify
    // instances.
    [[nodiscard]] int descriptor() const { return notify_fd_; }

private:
    using path_set = std::set<std::filesystem::path>;

    struct watched_folder {
        std::filesystem::path path;            // without links
        std::map<std::string, path_set> names; // names through which watched paths lead
        path_set ends;                         // watched paths that end here: all in it counts
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
    std::map<int, watched_folder> folders_; // by inotify's watch descriptor
    bool is_other_way_ = false;             // paths may lead to other folders than the watched ones
};

} // namespace sim

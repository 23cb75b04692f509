// Tells when files in a folder were written, renamed or removed, without looking at each of them.
#pragma once

#include <span>
#include <string>
#include <vector>

namespace sim {

class folder_watch {
public:
    // Beside the folder, others may be watched for as long as they are there.
    explicit folder_watch(std::string folder, const std::vector<std::string>& others = {});
    ~folder_watch();
    folder_watch(const folder_watch&) = delete;
    folder_watch& operator=(const folder_watch&) = delete;

    // True when something changed since the last call. Never blocks. The folder, when it is not
    // there (yet), is tried again now and then. Files that editors keep beside others don't count:
    // names that begin with a dot or end in a tilde.
    [[nodiscard]] bool changed();

    // Can be read when asking is worthwhile. Borrowed; negative where the system has no more.
    [[nodiscard]] int descriptor() const { return notify_fd_; }

private:
    bool ensure_watched();
    bool take_events(std::span<const char> events);

    std::string folder_;
    int notify_fd_;
    int watch_ = -1;
    unsigned calls_until_retry_ = 0;
};

} // namespace sim

// Tells when files in a folder were written, renamed or removed, without looking at each of them.
#pragma once

#include <string>

namespace sim {

class folder_watch {
public:
    explicit folder_watch(std::string folder);
    ~folder_watch();
    folder_watch(const folder_watch&) = delete;
    folder_watch& operator=(const folder_watch&) = delete;

    // True when something changed since the last call. Never blocks. A folder that is not there
    // (yet) is tried again now and then.
    [[nodiscard]] bool changed();

private:
    bool ensure_watched();

    std::string folder_;
    int notify_fd_;
    int watch_ = -1;
    unsigned calls_until_retry_ = 0;
};

} // namespace sim

// Waits for changes of a file without polling.
#include "support/file_watch.h"

#include <array>
#include <poll.h>
#include <sys/inotify.h>
#include <unistd.h>

using clock_type = std::chrono::steady_clock;

namespace {

class inotify_watch {
public:
    explicit inotify_watch(const std::filesystem::path& folder)
        : fd_{inotify_init1(IN_CLOEXEC | IN_NONBLOCK)} {
        inotify_add_watch(fd_, folder.c_str(),
                          IN_ATTRIB | IN_MODIFY | IN_CREATE | IN_MOVED_TO | IN_DELETE |
                              IN_CLOSE_WRITE);
    }
    inotify_watch(const inotify_watch&) = delete;
    inotify_watch& operator=(const inotify_watch&) = delete;
    ~inotify_watch() { close(fd_); }

    // Returns false if nothing changed before the deadline.
    [[nodiscard]] bool wait_until(clock_type::time_point deadline) const {
        const auto left =
            std::chrono::ceil<std::chrono::milliseconds>(deadline - clock_type::now());
        pollfd watched{fd_, POLLIN, 0};
        if (left.count() <= 0 || poll(&watched, 1, static_cast<int>(left.count())) <= 0) {
            return false;
        }
        std::array<char, 4096> events{};
        while (read(fd_, events.data(), events.size()) > 0) {
        }
        return true;
    }

private:
    int fd_;
};

} // namespace

bool wait_for_file(const std::filesystem::path& file, const std::function<bool()>& reached,
                   std::chrono::milliseconds timeout) {
    const inotify_watch watch{file.parent_path()};
    const clock_type::time_point deadline = clock_type::now() + timeout;
    while (!reached()) {
        if (!watch.wait_until(deadline)) {
            return reached();
        }
    }
    return true;
}

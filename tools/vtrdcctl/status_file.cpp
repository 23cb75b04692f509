// The daemon's status file: finds it, reads it, and waits for changes.
#include "vtrdcctl/status_file.h"

#include "core/status.h"
#include "vtrdcctl/exit_status.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <poll.h>
#include <sys/inotify.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace fs = std::filesystem;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

namespace {

// The kernel's limit.
constexpr int LINKS_MAX = 40;
// How often to look for a missing folder: its parent may be missing too.
constexpr milliseconds FOLDER_INTERVAL{1000};

// Timeout for poll(), rounded up; -1 without a limit.
int timeout_until(time_limit limit) {
    if (!limit) {
        return -1;
    }
    const auto left = std::chrono::ceil<milliseconds>(*limit - steady_clock::now());
    return static_cast<int>(std::max(left, milliseconds{0}).count());
}

// Resolves links. The file itself need not exist.
fs::path follow_links(fs::path path) {
    std::error_code none;
    for (int links = 0; fs::is_symlink(path, none) && links < LINKS_MAX; ++links) {
        path = path.parent_path() / fs::read_symlink(path, none);
    }
    return path;
}

no_daemon not_running(const std::string& why) {
    return no_daemon{"the daemon is not running: " + why};
}

std::string read_file(const std::string& path) {
    errno = 0;
    std::ifstream file{path};
    if (!file && errno == ENOENT) {
        throw not_running("no " + path);
    }
    if (!file) {
        throw no_answer{"can't read " + path + ": " + std::strerror(errno)};
    }
    return {std::istreambuf_iterator<char>{file}, {}};
}

// Returns the process that wrote it; 0 if it is not a status.
pid_t writer_of(const nlohmann::ordered_json& status) {
    const auto pid = status.is_object() ? status.find("pid") : status.end();
    return pid != status.end() && pid->is_number_integer() ? std::max(pid->get<pid_t>(), 0) : 0;
}

} // namespace

std::string status_path_beside(const std::string& socket_path) {
    return follow_links(socket_path).parent_path() / fs::path{STATUS_FILE}.filename();
}

status_file::status_file(const std::string& path)
    : path_{follow_links(path)}, notices_{inotify_init1(IN_CLOEXEC | IN_NONBLOCK)} {
    watch_folder();
}

void status_file::watch_folder() {
    const fs::path folder = fs::path{path_}.parent_path();
    is_watching_ = inotify_add_watch(notices_.get(), folder.empty() ? "." : folder.c_str(),
                                     IN_MOVED_TO | IN_DELETE | IN_ONLYDIR) >= 0;
}

daemon_status status_file::read() {
    process_.reset();
    daemon_status status{read_file(path_), {}};
    status.object = nlohmann::ordered_json::parse(status.text, nullptr, false);
    const pid_t writer = writer_of(status.object);
    if (writer == 0) {
        throw no_answer{path_ + " is not a status of the daemon"};
    }
    if (!watch_process(writer)) {
        throw not_running("process " + std::to_string(writer) + ", which wrote " + path_ +
                          ", has ended");
    }
    return status;
}

// Returns false when it has ended.
bool status_file::watch_process(pid_t pid) {
    process_ = fd_owned{static_cast<int>(syscall(SYS_pidfd_open, pid, 0))};
    if (!process_) { // kernels before 5.3 have no pidfd
        return kill(pid, 0) == 0 || errno == EPERM;
    }
    pollfd ended{process_.get(), POLLIN, 0};
    if (poll(&ended, 1, 0) == 0) {
        return true;
    }
    process_.reset();
    return false;
}

daemon_status status_file::read_in_time(time_limit limit) {
    for (;;) {
        try {
            return read();
        } catch (const no_daemon&) {
            if (!wait(limit)) {
                throw;
            }
        }
    }
}

bool status_file::wait(time_limit limit) {
    if (!is_watching_) {
        const steady_clock::time_point next = steady_clock::now() + FOLDER_INTERVAL;
        const bool is_last = limit && *limit < next;
        poll(nullptr, 0, timeout_until(is_last ? *limit : next));
        watch_folder();
        return !is_last;
    }
    for (;;) {
        std::array<pollfd, 2> watched{{{notices_.get(), POLLIN, 0}, {process_.get(), POLLIN, 0}}};
        if (poll(watched.data(), watched.size(), timeout_until(limit)) == 0) {
            return false;
        }
        if (watched[1].revents != 0 || has_changed()) {
            return true;
        }
    }
}

// Reads the inotify events; ignores those of other files in the folder.
bool status_file::has_changed() const {
    const std::string name = fs::path{path_}.filename();
    alignas(inotify_event) std::array<char, 4096> notices{};
    bool is_found = false;
    for (;;) {
        const ssize_t size = ::read(notices_.get(), notices.data(), notices.size());
        if (size <= 0) {
            return is_found;
        }
        for (std::size_t place = 0; place < static_cast<std::size_t>(size);) {
            inotify_event notice{};
            std::memcpy(&notice, notices.data() + place, sizeof notice);
            const char* const file = notices.data() + place + sizeof notice;
            is_found =
                is_found || (notice.len > 0 && name == file) || (notice.mask & IN_Q_OVERFLOW) != 0;
            place += sizeof notice + notice.len;
        }
    }
}

// Tracks the lifetime of a board's daemon, for helper programs.
#include "daemon_life.h"

#include "util/fd_owned.h"

#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <poll.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

bool has_environment(const fs::path& process, const std::string& entry) {
    std::ifstream file{process / "environ", std::ios::binary};
    for (std::string each; std::getline(file, each, '\0');) {
        if (each == entry) {
            return true;
        }
    }
    return false;
}

bool is_daemon(const fs::path& process, const daemon_marks& marks) {
    std::error_code gone;
    return fs::read_symlink(process / "exe", gone) == marks.executable &&
           has_environment(process, marks.environment);
}

// Returns the daemon's processes found by one pass over the process table.
std::vector<pid_t> look_for_daemons(const daemon_marks& marks) {
    std::vector<pid_t> found;
    for (const fs::directory_entry& entry : fs::directory_iterator{"/proc"}) {
        const std::optional<pid_t> pid = parse_pid(entry.path().filename().native());
        if (pid && is_daemon(entry.path(), marks)) {
            found.push_back(*pid);
        }
    }
    return found;
}

// Waits until one of the processes has ended.
void wait_for_end(const std::vector<pid_t>& processes) {
    std::vector<fd_owned> handles;
    std::vector<pollfd> polled;
    for (const pid_t pid : processes) {
        // The C library has no function for it yet.
        fd_owned handle(static_cast<int>(syscall(SYS_pidfd_open, pid, 0)));
        if (handle) {
            polled.push_back({handle.get(), POLLIN, 0});
            handles.push_back(std::move(handle));
        } else if (errno != ESRCH) {
            std::_Exit(EXIT_FAILURE); // can't wait, and polling would never stop
        }
    }
    // A missing one has ended already.
    if (polled.size() == processes.size()) {
        poll(polled.data(), polled.size(), -1);
    }
}

// Continues in a child. The parent exits with the status of its program, or at once if the child
// stays.
void fork_away(bool child_stays) {
    const pid_t child = fork();
    if (child == 0) {
        return;
    }
    int status = child > 0 ? EXIT_SUCCESS : EXIT_FAILURE;
    if (child > 0 && !child_stays) {
        waitpid(child, &status, 0);
    }
    std::_Exit(status == 0 ? EXIT_SUCCESS : EXIT_FAILURE);
}

// Releases the terminal, and pipes whose reader waits for the last writer.
void let_go_of_standard_streams() {
    const int nothing = open("/dev/null", O_RDWR | O_CLOEXEC);
    for (int fd = 0; fd <= STDERR_FILENO; ++fd) {
        dup2(nothing, fd);
    }
    if (nothing > STDERR_FILENO) {
        close(nothing);
    }
}

} // namespace

daemon_marks marks_of_daemon(const std::string& program, const std::string& board) {
    std::error_code missing;
    return {fs::canonical(program, missing), "VTRDC_SYSROOT=" + board};
}

std::optional<pid_t> parse_pid(std::string_view text) {
    pid_t pid = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), pid);
    const bool whole = error == std::errc{} && end == text.data() + text.size();
    return whole ? std::optional{pid} : std::nullopt;
}

// A process that forks exists until its child does; but when process ids wrap around, the child may
// appear in a part of the table already passed. A daemon that detaches forks twice, so three passes
// can't all miss it.
std::vector<pid_t> find_daemons(const daemon_marks& marks) {
    constexpr int LOOKS = 3;
    std::vector<pid_t> found;
    for (int look = 0; look < LOOKS && found.empty(); ++look) {
        found = look_for_daemons(marks);
    }
    return found;
}

void wait_for_daemon_end(const daemon_marks& marks, pid_t starter) {
    // Until exec, the starter doesn't look like the daemon.
    wait_for_end({starter});
    for (std::vector<pid_t> daemons = find_daemons(marks); !daemons.empty();
         daemons = find_daemons(marks)) {
        wait_for_end(daemons);
    }
}

void leave_parent() {
    fork_away(false);
    setsid();
    fork_away(true);
    let_go_of_standard_streams();
    if (chdir("/") != 0) {
        std::_Exit(EXIT_FAILURE);
    }
}

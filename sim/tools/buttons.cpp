// The simulated board's buttons: a FIFO that carries input events in place of the event device.
//
// press writes a press and a release. keep stays beside the daemon and holds the FIFO open for
// writing as long as the daemon lives, also after it detached, so that opening it never waits.
#include <array>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <linux/input.h>
#include <optional>
#include <poll.h>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace fs = std::filesystem;

namespace {

struct button_row {
    std::string_view name;
    std::uint16_t key;
};

// The keys that the sight's three buttons send.
constexpr button_row button_rows[] = {
    {"zoom", KEY_HOMEPAGE},
    {"nuc", KEY_BACK},
    {"pol", KEY_MENU},
};

constexpr int VALUE_PRESSED = 1;
constexpr int VALUE_RELEASED = 0;

input_event make_event(std::uint16_t type, std::uint16_t code, int value) {
    input_event event{};
    event.type = type;
    event.code = code;
    event.value = value;
    return event;
}

// The events of one press and release.
auto press_events(std::uint16_t key) {
    return std::array{
        make_event(EV_KEY, key, VALUE_PRESSED),
        make_event(EV_SYN, SYN_REPORT, 0),
        make_event(EV_KEY, key, VALUE_RELEASED),
        make_event(EV_SYN, SYN_REPORT, 0),
    };
}

int fail_press(const char* fifo) {
    if (errno == ENXIO) {
        std::fprintf(stderr, "press: no daemon is running on this board\n");
    } else if (errno == EAGAIN) {
        std::fprintf(stderr, "press: the daemon doesn't read its buttons, they hold no more\n");
    } else {
        std::fprintf(stderr, "press: %s: %s\n", fifo, std::strerror(errno));
    }
    return EXIT_FAILURE;
}

int write_press(const char* fifo, std::uint16_t key) {
    const int fd = open(fifo, O_WRONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) {
        return fail_press(fifo);
    }
    const auto events = press_events(key);
    // Less than PIPE_BUF, so the kernel takes all or nothing.
    const bool written = write(fd, events.data(), sizeof events) == sizeof events;
    const int result = written ? EXIT_SUCCESS : fail_press(fifo);
    close(fd);
    return result;
}

int press(std::string_view name, const char* fifo) {
    for (const button_row& row : button_rows) {
        if (row.name == name) {
            return write_press(fifo, row.key);
        }
    }
    std::fprintf(stderr, "press: there is no such button\n");
    return 2;
}

// Tells the daemon of one board from other processes.
struct daemon_marks {
    fs::path executable;
    std::string environment; // a whole entry, VTRDC_SYSROOT=...
};

std::optional<pid_t> parse_pid(std::string_view text) {
    pid_t pid = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), pid);
    const bool whole = error == std::errc{} && end == text.data() + text.size();
    return whole ? std::optional{pid} : std::nullopt;
}

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

// Processes of the daemon that this look at the process table comes across.
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

// Processes of the daemon that live now. One that forks lives on until its child exists, yet when
// process ids begin anew the child can stand in a part of the table that was passed already. A
// daemon that detaches forks twice, so three looks can't all miss it.
std::vector<pid_t> find_daemons(const daemon_marks& marks) {
    constexpr int LOOKS = 3;
    std::vector<pid_t> found;
    for (int look = 0; look < LOOKS && found.empty(); ++look) {
        found = look_for_daemons(marks);
    }
    return found;
}

// Waits until one of the processes has ended.
void wait_for_end(const std::vector<pid_t>& processes) {
    std::vector<pollfd> handles;
    for (const pid_t pid : processes) {
        // By number, since the C library has no name for it yet.
        const auto handle = static_cast<int>(syscall(SYS_pidfd_open, pid, 0));
        if (handle >= 0) {
            handles.push_back({handle, POLLIN, 0});
        } else if (errno != ESRCH) {
            std::_Exit(EXIT_FAILURE); // there is no waiting, so looking again would never stop
        }
    }
    // Where one is missing, it has ended already.
    if (handles.size() == processes.size()) {
        poll(handles.data(), handles.size(), -1);
    }
    for (const pollfd& handle : handles) {
        close(handle.fd);
    }
}

// Goes on in a child. The parent ends with the status of whoever it started, or at once when the
// child is the one to stay.
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

// A process of its own, in nobody's terminal and nobody's child, that keeps nothing of its parent
// open: neither its terminal nor a pipe whose other end waits for the last writer.
void leave_parent() {
    fork_away(false);
    setsid();
    fork_away(true);
    const int nothing = open("/dev/null", O_RDWR | O_CLOEXEC);
    for (int fd = 0; fd <= STDERR_FILENO; ++fd) {
        dup2(nothing, fd);
    }
    if (nothing > STDERR_FILENO) {
        close(nothing);
    }
    if (chdir("/") != 0) {
        std::_Exit(EXIT_FAILURE);
    }
}

int keep(const char* fifo, const daemon_marks& marks, pid_t starter) {
    close_range(STDERR_FILENO + 1, ~0U, 0);
    // Read and write: opening one direction alone would wait for the other.
    const int held = open(fifo, O_RDWR | O_CLOEXEC);
    if (held < 0) {
        std::fprintf(stderr, "keep: %s: %s\n", fifo, std::strerror(errno));
        return EXIT_FAILURE;
    }
    leave_parent();
    // The starter becomes the daemon; until then it doesn't look like one.
    wait_for_end({starter});
    for (std::vector<pid_t> daemons = find_daemons(marks); !daemons.empty();
         daemons = find_daemons(marks)) {
        wait_for_end(daemons);
    }
    return EXIT_SUCCESS;
}

int usage() {
    std::fputs("usage: vtrdc-sim-buttons press zoom|nuc|pol FIFO\n"
               "       vtrdc-sim-buttons keep FIFO BOARD DAEMON PID\n",
               stderr);
    return 2;
}

} // namespace

int main(int argc, char* argv[]) {
    const std::string_view verb = argc > 1 ? argv[1] : "";
    if (verb == "press" && argc == 4) {
        return press(argv[2], argv[3]);
    }
    const std::optional<pid_t> starter =
        verb == "keep" && argc == 6 ? parse_pid(argv[5]) : std::nullopt;
    if (starter) {
        const std::string board = argv[3];
        std::error_code missing;
        return keep(argv[2], {fs::canonical(argv[4], missing), "VTRDC_SYSROOT=" + board}, *starter);
    }
    return usage();
}

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

int write_press(const char* fifo, std::uint16_t key) {
    const std::array events{
        make_event(EV_KEY, key, VALUE_PRESSED),
        make_event(EV_SYN, SYN_REPORT, 0),
        make_event(EV_KEY, key, VALUE_RELEASED),
        make_event(EV_SYN, SYN_REPORT, 0),
    };
    const int fd = open(fifo, O_WRONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) {
        const char* const reason =
            errno == ENXIO ? "no daemon is running on this board" : std::strerror(errno);
        std::fprintf(stderr, "press: %s\n", reason);
        return EXIT_FAILURE;
    }
    // Less than PIPE_BUF, so the kernel takes all or nothing.
    const bool written = write(fd, events.data(), sizeof events) == sizeof events;
    close(fd);
    return written ? EXIT_SUCCESS : EXIT_FAILURE;
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

// --- keeping -------------------------------------------------------------------------------------

// Tells the daemon of one board from other processes.
struct daemon_marks {
    fs::path executable;
    std::string environment; // a whole entry, VTRDC_SYSROOT=...
};

std::optional<pid_t> process_id(const fs::path& folder) {
    const std::string name = folder.filename();
    pid_t pid = 0;
    const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), pid);
    const bool whole = error == std::errc{} && end == name.data() + name.size();
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

// Processes of the daemon that live now. One that forks lives on until its child exists, so no
// moment is without one of them while the daemon detaches.
std::vector<pid_t> find_daemons(const daemon_marks& marks) {
    std::vector<pid_t> found;
    for (const fs::directory_entry& entry : fs::directory_iterator{"/proc"}) {
        const std::optional<pid_t> pid = process_id(entry.path());
        if (pid && *pid != getpid() && is_daemon(entry.path(), marks)) {
            found.push_back(*pid);
        }
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
        }
    }
    if (handles.size() == processes.size()) {
        poll(handles.data(), handles.size(), -1);
    }
    for (const pollfd& handle : handles) {
        close(handle.fd);
    }
}

// A process of its own, in nobody's terminal and nobody's child.
void leave_parent() {
    if (fork() != 0) {
        std::_Exit(EXIT_SUCCESS);
    }
    setsid();
    if (fork() != 0) {
        std::_Exit(EXIT_SUCCESS);
    }
    for (int fd = 0; fd <= STDERR_FILENO; ++fd) {
        close(fd);
        open("/dev/null", O_RDWR);
    }
    if (chdir("/") != 0) {
        std::_Exit(EXIT_FAILURE);
    }
}

int keep(const char* fifo, const daemon_marks& marks, pid_t starter) {
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
    if (verb == "keep" && argc == 6) {
        const std::string board = argv[3];
        return keep(argv[2], {fs::canonical(argv[4]), "VTRDC_SYSROOT=" + board},
                    std::atoi(argv[5]));
    }
    return usage();
}

// The simulated board's buttons: a FIFO with input events instead of the event device.
//
// "press" writes a press and a release. "keep" runs beside the daemon and keeps two things open
// while the daemon lives, even after it detached: the FIFO for writing, so that opening it never
// blocks, and its standard input, on which its parent holds a lock for the daemon.
#include "button_rows.h"
#include "daemon_life.h"
#include "util/fd_owned.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <linux/input.h>
#include <optional>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

namespace {

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
        std::fprintf(stderr,
                     "press: the daemon doesn't read its buttons, and their buffer is full\n");
    } else {
        std::fprintf(stderr, "press: %s: %s\n", fifo, std::strerror(errno));
    }
    return EXIT_FAILURE;
}

int write_press(const char* fifo, std::uint16_t key) {
    const fd_owned buttons(open(fifo, O_WRONLY | O_NONBLOCK | O_CLOEXEC));
    if (!buttons) {
        return fail_press(fifo);
    }
    const auto events = press_events(key);
    // Less than PIPE_BUF, so write() is all or nothing.
    const bool written = write(buttons.get(), events.data(), sizeof events) == sizeof events;
    return written ? EXIT_SUCCESS : fail_press(fifo);
}

int press(std::string_view name, const char* fifo) {
    for (const button_row& row : button_rows) {
        if (row.name == name) {
            return write_press(fifo, row.key);
        }
    }
    std::fprintf(stderr, "press: no such button\n");
    return 2;
}

// A real event device in place of the FIFO need not be kept open.
bool hold_open(const char* fifo) {
    struct stat status {};
    if (stat(fifo, &status) != 0 || !S_ISFIFO(status.st_mode)) {
        return true;
    }
    // Read and write: opening only one direction would block.
    return open(fifo, O_RDWR | O_CLOEXEC) >= 0;
}

// Descriptors stay open until the process ends.
int keep(const char* fifo, const daemon_marks& marks, pid_t starter) {
    close_range(STDERR_FILENO + 1, ~0U, 0);
    // Duplicates the input, since the standard streams are closed.
    if (!hold_open(fifo) || fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1) < 0) {
        std::fprintf(stderr, "keep: %s: %s\n", fifo, std::strerror(errno));
        return EXIT_FAILURE;
    }
    leave_parent();
    wait_for_daemon_end(marks, starter);
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
        return keep(argv[2], marks_of_daemon(argv[4], argv[3]), *starter);
    }
    return usage();
}

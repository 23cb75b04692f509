// How long a board's daemon lives, for helper programs that stay beside it.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <vector>

// Tells the daemon of one board from other processes.
struct daemon_marks {
    std::filesystem::path executable; // no links on the way to it
    std::string environment;          // a whole entry, VTRDC_SYSROOT=...
};

// The marks of the daemon that this program becomes on that board, an absolute folder.
[[nodiscard]] daemon_marks marks_of_daemon(const std::string& program, const std::string& board);

// A process id in decimal digits; none when the text is anything else.
[[nodiscard]] std::optional<pid_t> parse_pid(std::string_view text);

// Processes of the daemon that live now: more than one while it detaches.
[[nodiscard]] std::vector<pid_t> find_daemons(const daemon_marks& marks);

// Waits for the end of the starter, which becomes the daemon, and then until no daemon of that
// board is left: it may detach. Ends the process when the system can't wait for others.
void wait_for_daemon_end(const daemon_marks& marks, pid_t starter);

// Goes on as a process of its own, in nobody's terminal and nobody's child, in the root folder,
// that keeps neither its parent's terminal nor its standard streams open. The parent ends with
// status 0 once it exists, else with 1.
void leave_parent();

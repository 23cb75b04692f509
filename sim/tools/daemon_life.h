// Tracks the lifetime of a board's daemon, for helper programs.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <vector>

// Identifies the daemon of one board.
struct daemon_marks {
    std::filesystem::path executable; // path without links
    std::string environment;          // complete entry, VTRDC_SYSROOT=...
};

// Returns the marks of the daemon run by that program on that board (absolute folder).
[[nodiscard]] daemon_marks marks_of_daemon(const std::string& program, const std::string& board);

// Parses a decimal process id; none if invalid.
[[nodiscard]] std::optional<pid_t> parse_pid(std::string_view text);

// Returns the daemon's current processes: more than one while it detaches.
[[nodiscard]] std::vector<pid_t> find_daemons(const daemon_marks& marks);

// Waits for the end of the starter, which becomes the daemon, and then until no process of that
// board's daemon is left, since it may detach. Exits if the system can't wait for other processes.
void wait_for_daemon_end(const daemon_marks& marks, pid_t starter);

// Detaches: continues in a new process without terminal, parent and standard streams, in the root
// folder. The original process exits with status 0 once it exists, else with 1.
void leave_parent();

// Running other programs.
#pragma once

// What exec_system_cmd returns for a tool that did not come to an end of its own.
inline constexpr int TOOL_NOT_RUN = -1;     // it can't be started, or waited for
inline constexpr int TOOL_TIMED_OUT = -2;   // it was killed after ten seconds
inline constexpr int TOOL_NOT_STARTED = -3; // the daemon is to stop

// Runs a shell command line and waits for it, ten seconds at most: then its process group is
// killed. Returns its wait status as system() does, 0 on success, or one of the above. Every
// failure is a warning, with the beginning of what the tool wrote; what one that succeeds writes is
// dropped. Once a stop was asked for nothing is started. A line of 256 characters or more is
// refused, TOOL_NOT_RUN.
[[nodiscard, gnu::format(printf, 1, 2)]] int exec_system_cmd(const char* format, ...);

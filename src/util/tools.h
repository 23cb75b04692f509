// Runs other programs.
#pragma once

// Results of exec_system_cmd for a tool that did not end by itself.
inline constexpr int TOOL_NOT_RUN = -1;     // it can't be started or waited for
inline constexpr int TOOL_TIMED_OUT = -2;   // it was killed after ten seconds
inline constexpr int TOOL_NOT_STARTED = -3; // the daemon is stopping

// Runs a shell command line and waits for it, ten seconds at most; then its process group is
// killed. Returns its wait status as system() does, 0 on success, or one of the above. Every
// failure is a warning, with the beginning of the tool's output; the output of a successful tool is
// dropped. Starts nothing once a stop signal has arrived. Refuses a line of 256 characters or more
// with TOOL_NOT_RUN.
[[nodiscard, gnu::format(printf, 1, 2)]] int exec_system_cmd(const char* format, ...);

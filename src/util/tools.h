// Running other programs.
#pragma once

// Runs a shell command line and waits for it. Returns its wait status as system() does, 0 on
// success; -1 when the shell can't be started, and with a warning for a line of 256 characters or
// more, which is not run.
[[nodiscard, gnu::format(printf, 1, 2)]] int exec_system_cmd(const char* format, ...);

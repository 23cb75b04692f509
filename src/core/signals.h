// Signals as readable data: SIGINT and SIGTERM never interrupt the code.
#pragma once

// Makes {SIGINT, SIGTERM} the process's signal mask, ignores SIGPIPE and returns a descriptor that
// is readable when one of the two arrived; -1 with errno set when that fails.
[[nodiscard]] int signals_init();

// Reads one signal from the descriptor and returns its number; a short read is an ERROR.
[[nodiscard]] int decode_signal(int signal_fd);

// Stop signals as a readable descriptor, so that they never interrupt code.
#pragma once

// Blocks the stop signals, ignores SIGPIPE and SIGXFSZ, and returns a descriptor that is readable
// when a stop signal is pending, or -1 with errno set. Stop signals are SIGINT, SIGTERM and all
// others that would end the process, if they can come from outside and were not ignored before.
[[nodiscard]] int signals_init();

// Reads one signal from the descriptor and returns its number. A short read is an ERROR.
[[nodiscard]] int decode_signal(int signal_fd);

// True once a stop signal has arrived, whether or not it was read.
[[nodiscard]] bool stop_was_asked_for();

// Signals as readable data: those that ask the daemon to stop never interrupt the code.
#pragma once

// Makes the signals that ask for a stop the process's signal mask, ignores SIGPIPE and SIGXFSZ, and
// returns a descriptor that is readable when one of the former arrived; -1 with errno set when that
// fails. They are SIGINT, SIGTERM, and whatever else would end the process, as far as it can be
// asked for from outside and was not ignored before.
[[nodiscard]] int signals_init();

// Reads one signal from the descriptor and returns its number; a short read is an ERROR.
[[nodiscard]] int decode_signal(int signal_fd);

// True once such a signal arrived, be it read or not yet.
[[nodiscard]] bool stop_was_asked_for();

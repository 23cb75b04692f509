// Running in the background, with a locked PID file.
#pragma once

#include <sys/types.h>

// Opens those of descriptors 0 to 2 that are closed on the null device: what is opened later would
// get their numbers, and be written to as standard output. Exits with status 1 when it can't.
void open_standard_descriptors();

// Detaches from the terminal by forking twice; the process that was started exits with status 0.
// With a PID file name (null: none) the file is locked for the rest of the run and holds the
// process id; when it is locked already, or anything else fails, the process exits with status 1.
void daemonize(const char* pid_file_name);

// Keeps others than the owner from writing to what is created from now on, and returns the umask
// that held before.
[[nodiscard]] mode_t restrict_umask();

// Unlocks the PID file if this process locked it, and removes a file of that name in any case.
void release_pid_file(const char* pid_file_name);

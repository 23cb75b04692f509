// Running in the background, with a locked PID file.
#pragma once

#include <sys/types.h>

// Opens /dev/null as each of descriptors 0 to 2 that is closed. Otherwise files opened later would
// get these numbers and receive standard output. Exits with status 1 on failure.
void open_standard_descriptors();

// Detaches from the terminal by forking twice; the original process exits with status 0. If a PID
// file name is given, locks the file for the rest of the run and writes the process id to it. Exits
// with status 1 if the file is already locked or anything fails.
void daemonize(const char* pid_file_name);

// Removes write permission for group and others from files created from now on. Returns the
// previous umask.
[[nodiscard]] mode_t restrict_umask();

// Unlocks the PID file if this process locked it, and always removes the file of that name.
void release_pid_file(const char* pid_file_name);

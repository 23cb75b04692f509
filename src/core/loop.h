// The loop: waits for whatever is ready and dispatches it.
#pragma once

// Runs until a signal was handled, which also releases the PID file of that name (null: none), and
// every pipe has closed.
void run_loop(const char* pid_file_name);

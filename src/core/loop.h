// The loop: waits for whatever is ready and dispatches it.
#pragma once

// Runs until a signal was handled and every pipe has closed. SIGINT and SIGTERM also release the
// PID file of that name (null: none).
void run_loop(const char* pid_file_name);

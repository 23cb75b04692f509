// The main loop: waits for events and dispatches them.
#pragma once

// Runs until a stop signal was handled and every pipe has closed. The signal also releases the PID
// file of that name (null: none).
void run_loop(const char* pid_file_name);

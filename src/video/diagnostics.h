// Diagnostics of running pipes: a dump to the log, and graphs for Graphviz.
#pragma once

// Logs every pipe at INFO, by element and pad.
void gstvideo_print_status();

// Writes the pipe's graph to the file. Returns 1 when the pipe doesn't exist, else the result of
// write_full_file.
[[nodiscard]] int gstvideo_generate_dot_file(int pipe, const char* path);

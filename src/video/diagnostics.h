// Looking into running pipes: a dump to the log, and graphs for Graphviz.
#pragma once

// Dumps every pipe to the log at INFO, element by element and pad by pad.
void gstvideo_print_status();

// Writes the pipe's graph to the file. 1 when the pipe doesn't exist, else the result of
// write_full_file.
[[nodiscard]] int gstvideo_generate_dot_file(int pipe, const char* path);

// Reads the settings file at start-up and rewrites it after changes. Logs the CPU time of each.
#pragma once

// Warns if the file can't be read; the defaults apply.
void read_settings(const char* path);

// Rewrites the sight's own file, even if another one was read, if an action marked a change. A
// failure is a warning; the next change tries again.
void rewrite_changed_settings();

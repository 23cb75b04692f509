// The file of the current recording: its path, and whether it grows.
#pragma once

#include <chrono>

// Stores a copy of a recording's location pattern, replacing the previous one.
void record_file_set(const char* location_pattern);

// Returns the stored pattern, borrowed, or null.
[[nodiscard]] const char* record_file_name();

// Records that a recording opened a file; `path` is the path on this machine.
void record_file_opened(const char* path);

// Recording files since the daemon's start.
struct recorded_files {
    const char* last = nullptr; // path on the sight of the latest, borrowed; null: none
    unsigned int count = 0;
    unsigned int of_this_recording = 0; // in the current or last recording
};
[[nodiscard]] recorded_files record_files();

// Forgets the stored recording, if any, and then syncs its folder if `is_flushed`.
void record_file_finish(bool is_flushed);

// Call once a second while a recording ends: true once its file has not grown for five minutes.
[[nodiscard]] bool record_file_stands_still(std::chrono::steady_clock::time_point now);

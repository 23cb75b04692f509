// The recording that is being written: where, and whether its file grows.
#pragma once

#include <chrono>

// Remembers a copy of the location pattern of a recording, in place of any previous one.
void record_file_set(const char* location_pattern);

// The remembered pattern, borrowed; null when there is none.
[[nodiscard]] const char* record_file_name();

// Takes notice of a file that the recording has opened, by its path on this machine.
void record_file_opened(const char* path);

// The files of recordings since the daemon's start.
struct recorded_files {
    const char* last = nullptr; // path on the sight of the one opened last, borrowed; null: none
    unsigned int count = 0;
    unsigned int of_this_recording = 0; // or of the last one
};
[[nodiscard]] recorded_files record_files();

// Forgets the remembered recording, if there is one, and has its folder forced to storage unless
// `is_flushed` is false.
void record_file_finish(bool is_flushed);

// Asked once a second while a recording ends: true once its file has not grown for five minutes.
[[nodiscard]] bool record_file_stands_still(std::chrono::steady_clock::time_point now);

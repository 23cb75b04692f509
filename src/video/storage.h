// Getting what was written into a media folder to storage, since a sight is switched off by its
// battery.
#pragma once

#include <chrono>

// Forces to storage the folder of the file at `path`, its recordings and its snapshots (names that
// begin with v or i), and then all else with sync.
void flush_folder_of_file(const char* path);

// Remembers a copy of the location pattern of a recording, in place of any previous one.
void record_file_set(const char* location_pattern);

// The remembered pattern, borrowed; null when there is none.
[[nodiscard]] const char* record_file_name();

// Forgets the remembered recording, if there is one, and forces its folder to storage before that
// unless `is_flushed` is false: storage that stalls would hold up the caller.
void record_file_finish(bool is_flushed);

// Asked once a second while a recording ends: true once its file has not grown for five minutes.
[[nodiscard]] bool record_file_stands_still(std::chrono::steady_clock::time_point now);

// Getting what was written into a media folder to storage, since a sight is switched off by its
// battery.
#pragma once

// Forces to storage the folder of the file at `path`, its recordings and its snapshots (names that
// begin with v or i), and then all else with sync.
void flush_folder_of_file(const char* path);

// Remembers a copy of the location pattern of a recording, in place of any previous one.
void record_file_set(const char* location_pattern);

// Forces the remembered recording's folder to storage and forgets it; nothing when there is none.
void record_file_finish();

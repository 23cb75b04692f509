// The recording that is being written, remembered until its files have reached storage.
#pragma once

// Remembers a copy of the location pattern of a recording, in place of any previous one.
void record_file_set(const char* location_pattern);

// Forces the remembered recording's folder to storage and forgets it; nothing when there is none.
void record_file_finish();

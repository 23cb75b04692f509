// Getting what was written into a media folder to storage, since a sight is switched off by its
// battery. Storage that stalls holds nobody up: a thread of its own waits for it.
#pragma once

#include <chrono>

// Has the folder of the file at `path` forced to storage: its recordings and its snapshots (names
// that begin with v or i), itself, and then all else with sync. Folders wait for one another.
void flush_folder_of_file(const char* path);

// Waits until all that is due has been forced to storage. False when the time is over.
[[nodiscard]] bool flushing_ends_within(std::chrono::milliseconds time);

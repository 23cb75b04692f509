// Syncs media folders to storage, since a sight may lose power at any time. A separate thread waits
// for storage that stalls.
#pragma once

#include <chrono>

// Syncs the folder of the file at `path`: its recordings and snapshots (names that begin with v or
// i), the folder itself, then everything else with sync. Folders are synced one at a time.
void flush_folder_of_file(const char* path);

// Waits until every folder is synced. Returns false on timeout.
[[nodiscard]] bool flushing_ends_within(std::chrono::milliseconds time);

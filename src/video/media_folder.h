// Getting what was written into a media folder to storage.
#pragma once

// Forces to storage the folder of the file at `path`, its recordings and its snapshots (names that
// begin with v or i), and then all else with sync. Needed since a sight is switched off by its
// battery.
void flush_folder_of_file(const char* path);

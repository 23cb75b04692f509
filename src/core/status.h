// The status file: the daemon's state for clients, as one JSON object. The protocol document lists
// its fields.
#pragma once

// Its path on the sight. Replaced atomically.
inline constexpr const char* STATUS_FILE = "/run/vtrdc.status";

// Writes the file if its content has changed since the last call. Call after each pass of the loop.
// Repeated failures are logged once.
void write_changed_status();

// Removes the file if this process wrote it.
void remove_status();

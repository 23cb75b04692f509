// The status file: what the daemon says of itself to clients that watch, as one JSON object. The
// protocol document has its fields.
#pragma once

// Its path on the sight; it is replaced as a whole.
inline constexpr const char* STATUS_FILE = "/run/vtrdc.status";

// Writes the file if anything in it has changed since the last call. To be called after a pass of
// the loop. One that can't be written is warned about once, until it can be again.
void write_changed_status();

// Removes the file if it is this process's own.
void remove_status();

// The settings file in the daemon's life: read at start-up, rewritten after a change. The log tells
// the processor time that each takes.
#pragma once

// A file that can't be read is only warned about: the defaults apply.
void read_settings(const char* path);

// Rewrites the sight's own file, also when another one was read, if an action marked a change. One
// that can't be written is warned about; the next change tries again.
void rewrite_changed_settings();

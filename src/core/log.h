// The daemon's log: one call, four levels, every line flushed at once.
#pragma once

// Log levels; any other number writes nothing.
enum log_level : int {
    LEVEL_DEBUG = 0, // written only when log_verbose is set
    LEVEL_INFO = 1,
    LEVEL_WARN = 2,
    LEVEL_ERROR = 3, // the process ends with status 1 right after the line
};

// Non-zero enables DEBUG lines (option -v).
extern int log_verbose;

// Appends to the file at `path` from now on. Without a path, or if the file can't be opened, lines
// go to standard output.
void log_open(const char* path);

// Closes the log file; later lines go to standard output.
void log_close();

// Writes one line: time stamp, label, message (at most 1023 characters). An ERROR line also shows
// errno as of the call. Returns the result of flushing the stream, 0 on success.
[[gnu::format(printf, 2, 3)]] int log_message(int level, const char* format, ...);

// Writes an ERROR line and ends the process with status 1, without clean-up.
[[noreturn, gnu::format(printf, 1, 2)]] void log_fatal(const char* format, ...);

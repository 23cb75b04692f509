// The daemon's command line: options, help text and version banner.
#pragma once

#include "config/settings.h"

// What the options said; texts are borrowed from the argument vector. Null: not given.
struct cmdline_options {
    const char* app_name = nullptr; // as the program was invoked
    const char* conf_file_name = DEFAULT_CONF_FILE;
    const char* log_file_name = nullptr;
    const char* pid_file_name = nullptr;
    bool start_daemonized = false;
    bool profile = false;
};

// Version, build date and build kind, as logged at start-up.
extern const char* const version_banner;

// Reads the options and sets log_verbose. Help, asked for or after an invalid option, ends the
// process with status 0 or 1.
[[nodiscard]] cmdline_options parse_cmdline_opts(int argc, char* argv[]);

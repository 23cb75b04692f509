// The daemon's command line: options, help text and version banner.
#pragma once

#include "config/settings.h"

// The parsed options. Texts point into the argument vector; null: not given.
struct cmdline_options {
    const char* app_name = nullptr; // argv[0]
    const char* conf_file_name = DEFAULT_CONF_FILE;
    const char* log_file_name = nullptr;
    const char* pid_file_name = nullptr;
    bool start_daemonized = false;
    bool profile = false;
};

// Version, build date and build kind, as logged at start-up.
extern const char* const version_banner;

// Parses the options and sets log_verbose. Prints the help and exits with status 0 if it is
// requested, with 1 after an invalid option.
[[nodiscard]] cmdline_options parse_cmdline_opts(int argc, char* argv[]);

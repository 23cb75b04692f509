// The command line of vtrdcctl: its options, and a subcommand for each command of the daemon.
#pragma once

#include "vtrdcctl/client.h"
#include "vtrdcctl/watch.h"

#include <string>
#include <vector>

struct command_line {
    client_options client;
    bool keep_going = false;
    std::string script;     // "-" for commands from standard input
    std::string completion; // the shell whose completion is asked for
    // The command and its arguments; the client's own commands are "status" and "watch".
    std::vector<std::string> words;
    watch_options watch;
};

// Reads the command line. False when it asked for help or the version, which are written then; a
// usage_error when it can't be read, or does not ask for exactly one thing. What was read until
// then is in the record.
[[nodiscard]] bool read_command_line(int argc, const char* const* argv, command_line& line);

// What a shell completes: the options, such as "--socket", without their short names, and the
// commands.
struct command_line_names {
    std::vector<std::string> options;
    std::vector<std::string> commands;
    std::vector<std::string> watch_options; // of the command "watch"
};
[[nodiscard]] command_line_names all_names();

// The command line of vtrdcctl: options, and a subcommand for each of the daemon's commands.
#pragma once

#include "vtrdcctl/client.h"
#include "vtrdcctl/watch.h"

#include <string>
#include <vector>

struct command_line {
    client_options client;
    bool keep_going = false;
    std::string script;     // "-": commands from standard input
    std::string completion; // shell to print completion code for
    // The command and its arguments; "status" and "watch" are the client's own.
    std::vector<std::string> words;
    watch_options watch;
};

// Parses the command line. Returns false after printing the help or the version. Throws usage_error
// if it is invalid or doesn't request exactly one thing; the record then has what was parsed so
// far.
[[nodiscard]] bool read_command_line(int argc, const char* const* argv, command_line& line);

// Names that a shell completes: long options, such as "--socket", and commands.
struct command_line_names {
    std::vector<std::string> options;
    std::vector<std::string> commands;
    std::vector<std::string> watch_options; // of the command "watch"
};
[[nodiscard]] command_line_names all_names();

// The command line of vtrdcctl: its options, and a subcommand for each command of the daemon.
#pragma once

#include "vtrdcctl/client.h"

#include <CLI/App.hpp>
#include <string>
#include <vector>

struct command_line {
    client_options client;
    bool keep_going = false;
    std::string script;     // "-" for commands from standard input
    std::string completion; // the shell whose completion is asked for
    // The command and its arguments.
    std::vector<std::string> words;
};

// Adds options and commands. What is parsed goes to the record, which must outlive the parser.
void describe(CLI::App& parser, command_line& line);

// Reads the command line. A usage_error when it does not ask for exactly one thing; a
// CLI::ParseError when it can't be read at all, or asks for help.
void parse(CLI::App& parser, command_line& line, int argc, const char* const* argv);

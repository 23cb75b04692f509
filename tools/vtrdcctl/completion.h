// Completion of vtrdcctl's command line in a shell.
#pragma once

#include <CLI/App.hpp>
#include <string>

// Code for bash that completes the parser's options and commands.
[[nodiscard]] std::string bash_completion(const CLI::App& parser);

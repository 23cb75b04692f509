// Completion of vtrdcctl's command line in a shell.
#pragma once

#include "vtrdcctl/command_line.h"

#include <string>

// Code for bash that completes these names.
[[nodiscard]] std::string bash_completion(const command_line_names& names);

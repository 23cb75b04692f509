// Shell completion of vtrdcctl's command line.
#pragma once

#include "vtrdcctl/command_line.h"

#include <string>

// Returns bash code that completes these names.
[[nodiscard]] std::string bash_completion(const command_line_names& names);

// Runs the scripts.
#pragma once

#include "support/process.h"

// Returns the command line of a script such as "scripts/sim".
std::vector<std::string> front_door(const std::string& name, const std::vector<std::string>& words);

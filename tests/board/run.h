// Calling the front doors.
#pragma once

#include "support/process.h"

// The words of one of the front doors, such as "scripts/sim".
std::vector<std::string> front_door(const std::string& name, const std::vector<std::string>& words);

// Completion of vtrdcctl's command line in a shell.
#pragma once

#include <span>
#include <string>

// Code for bash that completes these options, and the commands there are.
[[nodiscard]] std::string bash_completion(std::span<const std::string> options);

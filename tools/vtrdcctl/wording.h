// Describes commands: accepted values, reasons for refusal.
#pragma once

#include "vtrdcctl/requests.h"

#include <span>
#include <string>

// Accepted values of an argument: "0 to 3", "1 or more", "1 or 0", "a number", "a text".
[[nodiscard]] std::string accepted(const argument_row& row);

// A command's line in a list: help and range.
[[nodiscard]] std::string summary(const client_command& command);

// Additional sentences for the help; may be empty.
[[nodiscard]] std::string details(const client_command& command);

// Why the daemon refused these arguments, for replies that give no reason.
[[nodiscard]] std::string refusal_reason(const client_command& command,
                                         std::span<const std::string> arguments);

// What the client says of a command: what it takes, when it is refused.
#pragma once

#include "vtrdcctl/requests.h"

#include <span>
#include <string>

// What an argument can be: "0 to 3", "1 or more", "1 or 0", "a number", "a text".
[[nodiscard]] std::string accepted(const argument_row& row);

// The line of a command in a list: help and range.
[[nodiscard]] std::string summary(const client_command& command);

// The sentences that go on where the help ends; empty when there is nothing more to say.
[[nodiscard]] std::string details(const client_command& command);

// Why the daemon refused these arguments, where its reply gives no reason.
[[nodiscard]] std::string refusal_reason(const client_command& command,
                                         std::span<const std::string> arguments);

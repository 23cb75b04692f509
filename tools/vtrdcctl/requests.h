// The daemon's commands as a client sees them, and requests made from words.
#pragma once

#include "api/command_arguments.h"

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

struct client_command {
    std::string_view name;
    command_arguments takes;
    answer_kind gives;
    std::string_view
        help; // the daemon's wording without the number of arguments, unless it misleads
    // As in command_note.
    std::string_view remark;
    std::string_view refusal;
    std::string_view log;
};

// All commands, in the daemon's order.
[[nodiscard]] std::span<const client_command> all_commands();

// The command of exactly that name; a usage_error, which suggests another, when there is none.
[[nodiscard]] const client_command& find_command(std::string_view name);

// The request for a command with these arguments. Those of a list may come as one word, which is
// then sent as it is. A usage_error when the daemon would not read these arguments out of it.
[[nodiscard]] std::string request_for(const client_command& command,
                                      std::span<const std::string> arguments);

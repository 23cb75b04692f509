// The daemon's commands, and building requests from words.
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
    std::string_view help; // the daemon's text without the number of arguments, unless it misleads
    // As in command_note.
    std::string_view remark;
    std::string_view refusal;
    std::string_view log;
};

// All commands, in the daemon's order.
[[nodiscard]] std::span<const client_command> all_commands();

// Returns the command of exactly that name. Throws usage_error, with a suggestion, if there is
// none.
[[nodiscard]] const client_command& find_command(std::string_view name);

// Returns the request for a command with these arguments. Arguments of a list may be one word,
// which is sent unchanged. Throws usage_error if the daemon would parse other arguments from it.
[[nodiscard]] std::string request_for(const client_command& command,
                                      std::span<const std::string> arguments);

// The client commands: their table, and how a request becomes a reply.
#pragma once

#include "core/imem.h"

#include <array>
#include <cstddef>
#include <string_view>

// Runs a command on the request's data text, which it may take apart. 0 for success; a text to
// answer with goes to `reply`, which is empty on entry.
using command_handler = int (*)(char* data, malloc_text& reply);

struct command_row {
    const char* name;
    command_handler handler;
    const char* help;
};

inline constexpr std::size_t CMD_LIST_SIZE = 37;

// All commands in the order of the help.
extern const std::array<command_row, CMD_LIST_SIZE> cmd_list;

// The reply to a request, which is taken apart; none when memory is short.
[[nodiscard]] malloc_text process_ipc(char* request);

// The handler of the command with exactly that name; null when there is none.
[[nodiscard]] command_handler api_locate_command(std::string_view name);

// The commands with their help, and the legend.
[[nodiscard]] malloc_text api_get_help();

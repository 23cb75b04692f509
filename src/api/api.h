// The client commands: their table, and how a request becomes a reply.
#pragma once

#include "api/command_arguments.h"
#include "core/imem.h"

#include <array>
#include <cstddef>
#include <initializer_list>
#include <span>
#include <string_view>

// Texts of a request's arguments: as many as its row has if that is a list, else all of the data
// as one, also for a command that takes nothing.
using request_arguments = std::span<const char* const>;

// Runs a command. 0 for success; a text to answer with goes to `reply`, which is empty on entry.
using command_handler = int (*)(request_arguments arguments, malloc_text& reply);

struct command_row {
    const char* name;
    command_handler handler;
    command_arguments takes;
    const char* help;
};

inline constexpr std::initializer_list<const char*> command_names{
#define VTRDC_COMMAND(name, handler, takes, gives, help) name,
#include "api/command_list.inc"
#undef VTRDC_COMMAND
};
inline constexpr std::size_t CMD_LIST_SIZE = command_names.size();

// All commands in the order of the help.
extern const std::array<command_row, CMD_LIST_SIZE> cmd_list;

// The reply to a request, which is taken apart; none when memory is short.
[[nodiscard]] malloc_text process_ipc(char* request);

// The row of the command with exactly that name; null when there is none.
[[nodiscard]] const command_row* api_locate_command(std::string_view name);

// The commands with their help, and the legend.
[[nodiscard]] malloc_text api_get_help();

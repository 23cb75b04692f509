// The client commands: their table, and how a request becomes a reply.
#pragma once

#include "api/command_arguments.h"
#include "core/imem.h"

#include <array>
#include <cstddef>
#include <initializer_list>
#include <span>
#include <string_view>

// Arguments of a request. A row with several arguments gets them split; any other row, also one
// that takes nothing, gets the whole data as one text.
using request_arguments = std::span<const char* const>;

// Runs a command. Returns 0 on success; may put the text of the answer into `reply`, which is empty
// on entry.
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

// All commands in help order.
extern const std::array<command_row, CMD_LIST_SIZE> cmd_list;

// Returns the reply to a request, or none when memory is short. Modifies the request.
[[nodiscard]] malloc_text process_ipc(char* request);

// Returns the row of the command with exactly that name, or null.
[[nodiscard]] const command_row* api_locate_command(std::string_view name);

// Returns the commands with their help, and the legend.
[[nodiscard]] malloc_text api_get_help();

// Command table and dispatch: turns a request into a reply.
#include "api/api.h"

#include "api/arguments.h"
#include "api/handlers.h"
#include "api/help_legend.h"
#include "api/ipcmsg.h"
#include "util/text_buffer.h"

#include <algorithm>

using namespace argument_rows;

constexpr std::array<command_row, CMD_LIST_SIZE> cmd_list{{
#define VTRDC_COMMAND(name, handler, takes, gives, help) {name, handler, takes, help},
#include "api/command_list.inc"
#undef VTRDC_COMMAND
}};

namespace {

constexpr std::size_t HELP_SIZE = 1024;

constexpr bool names_are_unique() {
    for (std::size_t i = 0; i < cmd_list.size(); ++i) {
        for (std::size_t j = i + 1; j < cmd_list.size(); ++j) {
            if (std::string_view{cmd_list[i].name} == cmd_list[j].name) {
                return false;
            }
        }
    }
    return true;
}
static_assert(names_are_unique());

constexpr bool help_tells_the_counts() {
    return std::ranges::all_of(cmd_list, [](const command_row& row) {
        constexpr std::string_view mark = "argc:";
        const std::string_view help{row.help};
        return help.starts_with(mark) &&
               help.at(mark.size()) == static_cast<char>('0' + row.takes.count);
    });
}
static_assert(help_tells_the_counts());

malloc_text error_reply(const char* command, const char* text) {
    return ipc_serialize({.ctype = 'e', .cmd = command, .dtype = 's', .data = text});
}

argument_list arguments_in(char* data, const command_arguments& taken) {
    return taken.is_list() ? split_arg_list(data) : argument_list{.arguments = {data}, .count = 1};
}

malloc_text run(const command_row& row, char* data) {
    const argument_list list = arguments_in(data, row.takes);
    if (row.takes.is_list() && list.count != row.takes.count) {
        return error_reply(row.name, "Invalid argument count");
    }
    malloc_text text;
    const int result = row.handler(std::span{list.arguments}.first(list.count), text);
    return ipc_serialize({
        .ctype = result == 0 ? 'r' : 'e',
        .cmd = row.name,
        .dtype = text ? 's' : 'n',
        .data = text.get(),
    });
}

} // namespace

malloc_text process_ipc(char* request) {
    ipc_msg message;
    if (ipc_deserialize(request, message) != 0) {
        return error_reply("no_cmd", "Failed to decode the command");
    }
    const command_row* const row = api_locate_command(message.cmd);
    if (row == nullptr) {
        return error_reply(message.cmd, "Unknown command");
    }
    return run(*row, message.data);
}

const command_row* api_locate_command(std::string_view name) {
    for (const command_row& row : cmd_list) {
        if (name == row.name) {
            return &row;
        }
    }
    return nullptr;
}

malloc_text api_get_help() {
    text_buffer help{HELP_SIZE};
    for (const command_row& row : cmd_list) {
        help.append("   %-20s %s\n", row.name, row.help);
    }
    for (const char* line : api_legend_arr) {
        help.append("%s\n", line);
    }
    return help.take();
}

// The client commands: their table, and how a request becomes a reply.
#include "api/api.h"

#include "api/handlers.h"
#include "api/help_legend.h"
#include "api/ipcmsg.h"
#include "util/text_buffer.h"

constexpr std::array<command_row, CMD_LIST_SIZE> cmd_list{{
#define VTRDC_COMMAND(name, handler, help) {name, handler, help},
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

malloc_text error_reply(const char* command, const char* text) {
    return ipc_serialize({.ctype = 'e', .cmd = command, .dtype = 's', .data = text});
}

} // namespace

malloc_text process_ipc(char* request) {
    ipc_msg message;
    if (ipc_deserialize(request, message) != 0) {
        return error_reply("no_cmd", "Failed to decode the command");
    }
    const command_handler handler = api_locate_command(message.cmd);
    if (handler == nullptr) {
        return error_reply(message.cmd, "Unknown command");
    }
    malloc_text reply;
    const int result = handler(message.data, reply);
    return ipc_serialize({
        .ctype = result == 0 ? 'r' : 'e',
        .cmd = message.cmd,
        .dtype = reply ? 's' : 'n',
        .data = reply.get(),
    });
}

command_handler api_locate_command(std::string_view name) {
    for (const command_row& row : cmd_list) {
        if (name == row.name) {
            return row.handler;
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

// The daemon's commands as a client sees them, and requests made from words.
#include "vtrdcctl/requests.h"

#include "vtrdcctl/status.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace {

// What the daemon reads of one request; a longer one would be cut.
constexpr std::size_t REQUEST_MAX = 2047;

using namespace argument_rows;

// What follows "argc:N, " in the help.
constexpr std::string_view wording(std::string_view help) {
    constexpr std::string_view count = "argc:N";
    help.remove_prefix(count.size());
    return help.substr(help.find_first_not_of(", "));
}

constexpr auto commands = std::to_array<client_command>({
#define VTRDC_COMMAND(name, handler, takes, help) {name, takes, wording(help)},
#include "api/command_list.inc"
#undef VTRDC_COMMAND
});

bool is_number(const std::string& text) {
    double value = 0.0;
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, value);
    return rest == end && error != std::errc::invalid_argument;
}

bool is_integer(std::string_view number) {
    number.remove_prefix(number.starts_with('-') ? 1 : 0);
    return number.find_first_not_of("0123456789") == std::string_view::npos;
}

usage_error refusal(const client_command& command, const std::string& problem) {
    return usage_error{std::string{command.name} + ": " + problem};
}

bool is_text(const client_command& command) {
    return command.takes.rows.front().kind == argument_kind::text;
}

std::string number_data(const client_command& command, const std::string& argument) {
    // To the daemon, a word such as "on" would be 0.
    if (!is_number(argument)) {
        throw refusal(command, "takes a number, not \"" + argument + "\"");
    }
    return (is_integer(argument) ? "i:" : "s:") + argument;
}

// A comma separates, unless a backslash stands before it or it begins an argument.
std::string list_data(const client_command& command, std::span<const std::string> arguments) {
    if (arguments.size() == 1) {
        return "l:" + arguments.front();
    }
    std::string data = "l:";
    for (const std::string& argument : arguments) {
        const bool is_last = &argument == &arguments.back();
        if (!is_last && (argument.empty() || argument.ends_with('\\'))) {
            throw refusal(command, "only the last argument can be empty or end with a backslash");
        }
        for (const char character : argument) {
            data += character == ',' ? "\\," : std::string(1, character);
        }
        data += is_last ? "" : ",";
    }
    return data;
}

std::string data_for(const client_command& command, std::span<const std::string> arguments) {
    const std::size_t count = command.takes.count;
    const bool is_ready_list = command.takes.is_list() && arguments.size() == 1;
    if (arguments.size() != count && !is_ready_list) {
        throw refusal(command, "takes " + std::to_string(count) +
                                   (count == 1 ? " argument, not " : " arguments, not ") +
                                   std::to_string(arguments.size()));
    }
    if (count == 0) {
        return "n:";
    }
    if (command.takes.is_list()) {
        return list_data(command, arguments);
    }
    return is_text(command) ? "s:" + arguments.front() : number_data(command, arguments.front());
}

} // namespace

std::span<const client_command> all_commands() {
    return commands;
}

const client_command& find_command(std::string_view name) {
    const auto* const found = std::ranges::find(commands, name, &client_command::name);
    if (found == commands.end()) {
        throw usage_error{"no such command: " + std::string{name}};
    }
    return *found;
}

std::string argument_name(const client_command& command, std::size_t number) {
    if (command.takes.is_list()) {
        return "argument" + std::to_string(number);
    }
    return is_text(command) ? "text" : "number";
}

std::string request_for(const client_command& command, std::span<const std::string> arguments) {
    std::string request = "c:" + std::string{command.name} + ":" + data_for(command, arguments);
    if (request.size() > REQUEST_MAX) {
        throw refusal(command, "the arguments make a request of " + std::to_string(request.size()) +
                                   " bytes, of which the daemon would read " +
                                   std::to_string(REQUEST_MAX));
    }
    if (request.find('\0') != std::string::npos) {
        throw refusal(command, "an argument holds a zero byte");
    }
    return request;
}

// The daemon's commands, and building requests from words.
#include "vtrdcctl/requests.h"

#include "vtrdcctl/command_notes.h"
#include "vtrdcctl/exit_status.h"
#include "vtrdcctl/nearest.h"
#include "vtrdcctl/wording.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <vector>

namespace {

// The daemon reads at most this much of one request.
constexpr std::size_t REQUEST_MAX = 2047;

using namespace argument_rows;

// Returns the help after "argc:N, ".
constexpr std::string_view wording(std::string_view help) {
    constexpr std::string_view count = "argc:N";
    help.remove_prefix(count.size());
    return help.substr(help.find_first_not_of(", "));
}

constexpr command_note note_on(std::string_view name) {
    const auto* const found = std::ranges::find(command_notes, name, &command_note::command);
    return found == command_notes.end() ? command_note{name} : *found;
}

constexpr client_command describe(std::string_view name, const command_arguments& takes,
                                  answer_kind gives, std::string_view help) {
    const command_note note = note_on(name);
    return {name,        takes,        gives,   note.help.empty() ? wording(help) : note.help,
            note.remark, note.refusal, note.log};
}

constexpr auto commands = std::to_array<client_command>({
#define VTRDC_COMMAND(name, handler, takes, gives, help) describe(name, takes, gives, help),
#include "api/command_list.inc"
#undef VTRDC_COMMAND
});

constexpr bool notes_are_on_commands() {
    return std::ranges::all_of(command_notes, [](const command_note& note) {
        return std::ranges::find(commands, note.command, &client_command::name) != commands.end();
    });
}
static_assert(notes_are_on_commands());

usage_error refusal(const client_command& command, const std::string& problem) {
    return usage_error{command.name, problem};
}

bool is_finite_number(const std::string& text) {
    double value = 0.0;
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, value);
    return rest == end && error == std::errc{} && std::isfinite(value);
}

bool is_whole_number(std::string_view text) {
    text.remove_prefix(text.starts_with('-') ? 1 : 0);
    return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

bool is_of_kind(argument_kind kind, const std::string& text) {
    return kind == argument_kind::text ||
           (kind == argument_kind::number ? is_finite_number(text) : is_whole_number(text));
}

// The daemon would read "on" as 0 and "2.5" as 2.
void require_kinds(const client_command& command, std::span<const std::string> arguments) {
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const argument_row& row = command.takes.rows.at(i);
        if (!is_of_kind(row.kind, arguments[i])) {
            throw refusal(command, (command.takes.is_list() ? std::string{row.name} + " " : "") +
                                       "takes " + accepted(row) + ", not \"" + arguments[i] + "\"");
        }
    }
}

void require_count(const client_command& command, std::size_t given) {
    const std::size_t count = command.takes.count;
    if (given != count) {
        throw refusal(command, "takes " + std::to_string(count) +
                                   (count == 1 ? " argument, not " : " arguments, not ") +
                                   std::to_string(given));
    }
}

// A comma separates, except after a backslash and as an argument's first character.
std::string list_data(const client_command& command, std::span<const std::string> arguments) {
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

std::string single_data(const client_command& command, const std::string& argument) {
    const bool is_integer =
        command.takes.rows.front().kind != argument_kind::text && is_whole_number(argument);
    return (is_integer ? "i:" : "s:") + argument;
}

std::vector<std::string> split_at_commas(const std::string& list) {
    std::vector<std::string> parts(1);
    for (const char character : list) {
        if (character == ',') {
            parts.emplace_back();
        } else {
            parts.back() += character;
        }
    }
    return parts;
}

bool is_of_texts(const client_command& command) {
    return command.takes.rows.front().kind == argument_kind::text;
}

std::string data_of_words(const client_command& command, std::span<const std::string> arguments) {
    require_count(command, arguments.size());
    require_kinds(command, arguments);
    if (command.takes.count == 0) {
        return "n:";
    }
    return command.takes.is_list() ? list_data(command, arguments)
                                   : single_data(command, arguments.front());
}

std::string data_for(const client_command& command, std::span<const std::string> arguments) {
    if (!command.takes.is_list() || arguments.size() != 1) {
        return data_of_words(command, arguments);
    }
    const std::string& list = arguments.front();
    return is_of_texts(command) ? "l:" + list : data_of_words(command, split_at_commas(list));
}

} // namespace

std::span<const client_command> all_commands() {
    return commands;
}

const client_command& find_command(std::string_view name) {
    const auto* const found = std::ranges::find(commands, name, &client_command::name);
    if (found == commands.end()) {
        std::vector<std::string> names;
        for (const client_command& command : commands) {
            names.emplace_back(command.name);
        }
        throw usage_error{unknown("command", name, names)};
    }
    return *found;
}

std::string request_for(const client_command& command, std::span<const std::string> arguments) {
    std::string request = "c:" + std::string{command.name} + ":" + data_for(command, arguments);
    if (request.size() > REQUEST_MAX) {
        throw refusal(command, "the arguments make a request of " + std::to_string(request.size()) +
                                   " bytes, of which the daemon would read " +
                                   std::to_string(REQUEST_MAX));
    }
    if (request.find('\0') != std::string::npos) {
        throw refusal(command, "an argument contains a zero byte");
    }
    return request;
}

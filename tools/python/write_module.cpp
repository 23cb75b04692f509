// Writes the Python module: its template, with a method for each of the daemon's commands instead
// of the line "# COMMANDS".
#include "api/help_legend.h"
#include "vtrdcctl/requests.h"
#include "vtrdcctl/wording.h"

#include <array>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <nlohmann/json.hpp>
#include <string>
#include <variant>

namespace {

struct kind_words {
    const char* kind;
    const char* type;
};

// In the order of argument_kind.
constexpr std::array kinds = std::to_array<kind_words>({
    {"flag", "bool"},
    {"integer", "int"},
    {"number", "float"},
    {"text", "str"},
});

const kind_words& words_of(argument_kind kind) {
    return kinds.at(static_cast<std::size_t>(kind));
}

// A text literal; JSON's are also valid Python.
std::string literal(std::string_view text) {
    return nlohmann::json(text).dump();
}

std::string limit(double value) {
    return std::isfinite(value) ? nlohmann::json(value).dump() : "None";
}

void write_argument(std::ostream& module, const argument_row& row) {
    module << "            _Argument(" << literal(row.name) << ", "
           << literal(words_of(row.kind).kind) << ", " << literal(accepted(row)) << ", "
           << limit(row.range.least) << ", " << limit(row.range.most) << "),\n";
}

void write_row(std::ostream& module, const client_command& command) {
    module << "    " << literal(command.name) << ": _Row(\n        " << literal(command.name)
           << ",\n        (\n";
    for (std::size_t i = 0; i < command.takes.count; ++i) {
        write_argument(module, command.takes.rows.at(i));
    }
    module << "        ),\n        " << literal(refusal_reason(command, {})) << ",\n    ),\n";
}

const char* answer_type(answer_kind gives) {
    switch (gives) {
    case answer_kind::number:
        return "int";
    case answer_kind::settings:
        return "Dict[str, Setting]";
    case answer_kind::nothing:
        break;
    }
    return "None";
}

std::string call_of(const client_command& command) {
    std::string call = "self._run(_ROWS[" + literal(command.name) + "]";
    for (std::size_t i = 0; i < command.takes.count; ++i) {
        call += std::string{", "} + command.takes.rows.at(i).name;
    }
    return call + ")";
}

std::string body_of(const client_command& command) {
    switch (command.gives) {
    case answer_kind::number:
        return "return int(" + call_of(command) + ")";
    case answer_kind::settings:
        return "return _settings(" + call_of(command) + ")";
    case answer_kind::nothing:
        break;
    }
    return call_of(command);
}

void write_method(std::ostream& module, const client_command& command) {
    module << "\n    def " << command.name << "(self";
    for (std::size_t i = 0; i < command.takes.count; ++i) {
        const argument_row& row = command.takes.rows.at(i);
        module << ", " << row.name << ": " << words_of(row.kind).type;
    }
    const std::string more = details(command);
    module << ") -> " << answer_type(command.gives) << ":\n        \"\"\"" << command.help
           << (more.empty() ? "" : "\n\n        " + more + "\n        ") << "\"\"\"\n        "
           << body_of(command) << '\n';
}

const char* type_name(const settings_field& field) {
    constexpr std::array names{"int", "str", "float"}; // in the order of the variant
    return names.at(field.index());
}

void write_commands(std::ostream& module) {
    module << "_SETTING_TYPES: Dict[str, Type[Setting]] = {\n";
    for (const parse_row& row : parse_table) {
        module << "    " << literal(row.key) << ": " << type_name(row.field) << ",\n";
    }
    module << "}\n\n_ROWS = {\n";
    for (const client_command& command : all_commands()) {
        write_row(module, command);
    }
    module << "}\n\n\nclass _Commands(_Connection):\n"
              "    \"\"\"The daemon's commands, from its own table.\n";
    for (const char* const line : api_legend_arr) {
        module << line << '\n';
    }
    module << "    \"\"\"\n";
    for (const client_command& command : all_commands()) {
        write_method(module, command);
    }
}

} // namespace

int main(int argc, char* argv[]) {
    if (argc != 3) {
        std::cerr << "usage: write_python_module TEMPLATE MODULE\n";
        return EXIT_FAILURE;
    }
    std::ifstream lines{argv[1]};
    std::ofstream module{argv[2]};
    for (std::string line; std::getline(lines, line);) {
        if (line == "# COMMANDS") {
            write_commands(module);
        } else {
            module << line << '\n';
        }
    }
    return lines.eof() && module.flush() ? EXIT_SUCCESS : EXIT_FAILURE;
}

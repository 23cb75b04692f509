// Describes commands: accepted values, reasons for refusal.
#include "vtrdcctl/wording.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <sstream>

namespace {

std::string number_text(double value) {
    std::ostringstream text;
    text << value; // the default precision suffices for the ends of ranges
    return text.str();
}

bool has_range(const argument_row& row) {
    return row.kind != argument_kind::flag && std::isfinite(row.range.least);
}

std::string range_text(const value_range& range) {
    return number_text(range.least) +
           (std::isfinite(range.most) ? " to " + number_text(range.most) : " or more");
}

// Empty unless the command has exactly one argument.
std::string only_range(const client_command& command) {
    const argument_row& row = command.takes.rows.front();
    return command.takes.count == 1 && has_range(row) ? range_text(row.range) : "";
}

std::string joined(std::string text, const std::string& sentence) {
    return sentence.empty() ? text : text + (text.empty() ? "" : " ") + sentence;
}

} // namespace

std::string accepted(const argument_row& row) {
    if (has_range(row)) {
        return range_text(row.range);
    }
    switch (row.kind) {
    case argument_kind::flag:
        return "1 or 0";
    case argument_kind::integer:
        return "a whole number";
    case argument_kind::number:
        return "a number";
    case argument_kind::text:
        break;
    }
    return "a text";
}

std::string summary(const client_command& command) {
    const std::string range = only_range(command);
    return std::string{command.help} + (range.empty() ? "" : ", " + range);
}

std::string details(const client_command& command) {
    const std::string range = only_range(command);
    std::string text = range.empty() ? "" : "Takes " + range + ".";
    text = joined(text, std::string{command.remark});
    return joined(text, command.refusal.empty()
                            ? ""
                            : "Reasons to fail: " + std::string{command.refusal} + ".");
}

std::string refusal_reason(const client_command& command, std::span<const std::string> arguments) {
    const std::size_t count = std::min(arguments.size(), command.takes.count);
    for (std::size_t i = 0; i < count; ++i) {
        const argument_row& row = command.takes.rows.at(i);
        if (has_range(row) && !row.range.holds(std::strtod(arguments[i].c_str(), nullptr))) {
            return "takes " + accepted(row) + ", not " + arguments[i];
        }
    }
    if (command.refusal.empty()) {
        return "refused without a reason";
    }
    return std::string{command.refusal} +
           (command.log.empty() ? "" : "; " + std::string{command.log});
}

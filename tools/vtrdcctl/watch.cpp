// Shows the daemon's status once, or at each change.
#include "vtrdcctl/watch.h"

#include "vtrdcctl/answers.h"
#include "vtrdcctl/nearest.h"
#include "vtrdcctl/status_file.h"
#include "vtrdcctl/status_words.h"

#include <algorithm>
#include <iostream>

namespace {

using json = nlohmann::ordered_json;
using std::chrono::steady_clock;

constexpr int SCHEMA = 1; // the known version
// Fields that exist only after a failure of the kind.
constexpr std::string_view LATER_FIELDS = "failures.";

// A later schema may have given a field another meaning.
bool is_known(const json& status) {
    const auto schema = status.find("schema");
    return schema != status.end() && *schema == SCHEMA;
}

void write_line(const json& status) {
    std::cout << status.dump(-1, ' ', false, json::error_handler_t::replace) << std::endl;
}

std::string pointer_to(std::string field) {
    std::ranges::replace(field, '.', '/');
    return "/" + field;
}

// Converts JSON pointers to names.
std::vector<std::string> names_in(const json& fields) {
    std::vector<std::string> names;
    for (const auto& [pointer, value] : fields.items()) {
        std::string name = pointer.substr(1);
        std::ranges::replace(name, '/', '.');
        names.push_back(name);
    }
    return names;
}

// Null if the field has no value yet.
json value_of(const json& status, const std::string& field) {
    const json fields = status.flatten();
    const auto found = fields.find(pointer_to(field));
    if (found != fields.end()) {
        return *found;
    }
    if (!field.starts_with(LATER_FIELDS)) {
        throw usage_error{unknown("field", field, names_in(fields))};
    }
    return nullptr;
}

std::string text_of(const json& value) {
    return value.is_string() ? value.get<std::string>() : value.dump();
}

bool holds(const json& value, const std::string& wanted) {
    return text_of(value) == wanted ||
           (value.is_number() && json::parse(wanted, nullptr, false) == value);
}

bool is_reached(const json& status, const watch_options& wishes) {
    return wishes.until && holds(value_of(status, wishes.until->field), wishes.until->value);
}

// Returns the next different status; none at the time limit.
std::optional<daemon_status> next_status(status_file& file, const std::string& before,
                                         time_limit end) {
    while (file.wait(end)) {
        daemon_status status = file.read();
        if (status.text != before) {
            return status;
        }
    }
    return std::nullopt;
}

exit_status end_of_time(const client_options& options, const watch_options& wishes,
                        const json& status) {
    if (!wishes.until) {
        return STATUS_DONE;
    }
    const auto& [field, value] = *wishes.until;
    const std::string text =
        field + " is still \"" + text_of(value_of(status, field)) + "\", not \"" + value + "\"";
    write_failure(options.is_json, {STATUS_REFUSED, "watch", text});
    return STATUS_REFUSED;
}

} // namespace

status_condition read_condition(const std::string& text) {
    const std::size_t sign = text.find('=');
    if (sign == std::string::npos || sign == 0) {
        throw usage_error{"watch", "--until takes FIELD=VALUE, not \"" + text + "\""};
    }
    return {text.substr(0, sign), text.substr(sign + 1)};
}

exit_status show_status(const client_options& options) {
    status_file file{options.status_path};
    const daemon_status status = file.read_in_time(steady_clock::now() + options.wait);
    if (options.is_json) {
        std::cout << status.text;
    } else if (is_known(status.object)) {
        std::cout << status_words(status.object);
    } else {
        throw no_answer{"the daemon is of a later version; --json shows its status"};
    }
    return STATUS_DONE;
}

exit_status watch_status(const client_options& options, const watch_options& wishes) {
    status_file file{options.status_path};
    std::optional<daemon_status> next = file.read_in_time(steady_clock::now() + options.wait);
    const time_limit end =
        wishes.duration ? time_limit{steady_clock::now() + *wishes.duration} : std::nullopt;
    daemon_status status;
    do {
        status = std::move(*next);
        const bool is_last = is_reached(status.object, wishes); // also checks the field's name
        write_line(status.object);
        if (is_last || !std::cout) {
            return STATUS_DONE; // main checks whether the output was written
        }
        next = next_status(file, status.text, end);
    } while (next);
    return end_of_time(options, wishes, status.object);
}

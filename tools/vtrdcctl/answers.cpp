// Prints answers and failures: as text, or as JSON objects, one a line.
#include "vtrdcctl/answers.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <iostream>
#include <nlohmann/json.hpp>
#include <sstream>

namespace {

using json = nlohmann::ordered_json;

void write_object(const json& object) {
    // Settings may contain any bytes, JSON only UTF-8.
    std::cout << object.dump(-1, ' ', false, json::error_handler_t::replace) << '\n';
}

// Returns the number, or the text if it isn't one.
template <class Number> json number_in(std::string_view text) {
    Number value{};
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, value);
    return error == std::errc{} && rest == end ? json(value) : json(text);
}

json typed_value(std::string_view text, const char* settings::* /*field*/) {
    return text;
}

template <class Number> json typed_value(std::string_view text, Number settings::* /*field*/) {
    return number_in<Number>(text);
}

json setting_value(std::string_view key, std::string_view text) {
    const auto* const row = std::ranges::find(parse_table, key, &parse_row::key);
    return row == parse_table.end()
               ? json(text)
               : std::visit([text](auto field) { return typed_value(text, field); }, row->field);
}

// Converts key=value lines.
json settings_object(const std::string& lines) {
    json object = json::object();
    std::istringstream text{lines};
    for (std::string line; std::getline(text, line);) {
        const std::size_t sign = line.find('=');
        if (sign != std::string::npos) {
            const std::string key = line.substr(0, sign);
            object[key] = setting_value(key, std::string_view{line}.substr(sign + 1));
        }
    }
    return object;
}

json typed_answer(answer_kind kind, const reply& answer) {
    if (!answer.has_data) {
        return nullptr;
    }
    switch (kind) {
    case answer_kind::number:
        return number_in<std::int32_t>(answer.data);
    case answer_kind::settings:
        return settings_object(answer.data);
    case answer_kind::nothing:
        break;
    }
    return answer.data;
}

const char* kind_of(exit_status status) {
    switch (status) {
    case STATUS_USAGE:
        return "usage";
    case STATUS_NO_ANSWER:
        return "no_answer";
    default:
        return "refused";
    }
}

// Appends ": " unless the text is empty.
std::string prefix(std::string_view text) {
    return text.empty() ? "" : std::string{text} + ": ";
}

} // namespace

void write_answer(bool is_json, const client_command& command, const reply& answer) {
    if (is_json) {
        write_object({{"command", command.name},
                      {"ok", true},
                      {"answer", typed_answer(command.gives, answer)}});
    } else if (answer.has_data) {
        std::cout << answer.data << (answer.data.ends_with('\n') ? "" : "\n");
    }
}

void write_failure(bool is_json, const failure& what) {
    const std::string place = prefix(what.place);
    if (!is_json) {
        std::cerr << "vtrdcctl: " << place << prefix(what.command) << what.text << '\n';
        return;
    }
    write_object(
        {{"command", what.command.empty() ? json(nullptr) : json(what.command)},
         {"ok", false},
         {"answer", nullptr},
         {"error", {{"kind", kind_of(what.status)}, {"text", place + std::string{what.text}}}}});
}

// What a command takes and returns, as declared by its row in command_list.inc.
#pragma once

#include "config/settings.h"
#include "video/registry.h"

#include <array>
#include <cstddef>

// How an argument's text is parsed.
enum class argument_kind { flag, integer, number, text };

struct argument_row {
    const char* name = "";
    argument_kind kind = argument_kind::text;
    value_range range{}; // valid values; the command decides what happens outside
};

// Data of a successful reply: none, an integer, or all settings.
enum class answer_kind { nothing, number, settings };

// Maximum number of arguments in a row.
inline constexpr std::size_t ARGUMENT_ROWS_MAX = 3;

struct command_arguments {
    std::array<argument_row, ARGUMENT_ROWS_MAX> rows{};
    std::size_t count = 0;

    // Several arguments come as a list; a single one is the whole data of the request.
    [[nodiscard]] constexpr bool is_list() const { return count > 1; }
};

// Helpers that rows of command_list.inc use for their arguments and replies.
namespace argument_rows {

template <class... Rows> consteval command_arguments takes(Rows... rows) {
    static_assert(sizeof...(rows) <= ARGUMENT_ROWS_MAX);
    return {.rows = {rows...}, .count = sizeof...(rows)};
}

inline constexpr argument_row FLAG{"on", argument_kind::flag, setting_ranges::OFF_OR_ON};
inline constexpr argument_row PIPE{"pipe", argument_kind::integer,
                                   setting_ranges::from_to(0, PIPE_COUNT - 1)};
inline constexpr argument_row ANY_PIPE{"pipe", argument_kind::integer, {}};

consteval argument_row text(const char* name) {
    return {name, argument_kind::text, {}};
}

consteval argument_kind kind_of(std::int32_t settings::* /*field*/) {
    return argument_kind::integer;
}

consteval argument_kind kind_of(double settings::* /*field*/) {
    return argument_kind::number;
}

consteval argument_kind kind_of(const char* settings::* /*field*/) {
    return argument_kind::text;
}

// A value of the setting with that key.
consteval argument_row value_of(auto field) {
    return {row_of(field).key, kind_of(field), row_of(field).range};
}

inline constexpr answer_kind NOTHING = answer_kind::nothing;
inline constexpr answer_kind NUMBER = answer_kind::number;
inline constexpr answer_kind SETTINGS = answer_kind::settings;

} // namespace argument_rows

// The settings record and its key table, both made from the rows of settings_list.inc.
#pragma once

#include "util/value_tables.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <variant>

// The sight's settings file: read unless the command line names another; always the one that is
// rewritten.
inline constexpr const char* DEFAULT_CONF_FILE = "/etc/vtrdc.conf";

// Every persistent setting with its default. Texts are borrowed: constants, or copies that live
// until the process ends.
struct settings {
#define VTRDC_SETTING(key, type, standard, range) type key = standard;
#include "config/settings_list.inc"
#undef VTRDC_SETTING
    // Path of the broker's socket; not in the file.
    const char* redis_socket_file = "/run/redis.sock";

    // Compares texts by address: each change stores another text.
    bool operator==(const settings&) const = default;
};

// Pointer to the field of a key; its alternative is the value's type.
using settings_field =
    std::variant<std::int32_t settings::*, const char * settings::*, double settings::*>;

// The valid numbers of a setting, both ends included. Not used for texts.
struct value_range {
    double least = -std::numeric_limits<double>::infinity();
    double most = std::numeric_limits<double>::infinity();
    bool is_index = false; // of a table

    // False for NaN.
    [[nodiscard]] constexpr bool holds(double value) const {
        return value >= least && value <= most;
    }
};

struct parse_row {
    const char* key;
    settings_field field;
    value_range range;
};

// Helpers with which the rows write their ranges.
namespace setting_ranges {

inline constexpr value_range ANY_VALUE{};
inline constexpr value_range OFF_OR_ON{.least = 0, .most = 1};

consteval value_range at_least(double least) {
    return {.least = least};
}

consteval value_range from_to(double least, double most) {
    return {.least = least, .most = most};
}

template <class Table> consteval value_range entry_of(const Table& table) {
    return {.least = 0, .most = static_cast<double>(table.size() - 1), .is_index = true};
}

constexpr auto make_parse_table() {
    return std::to_array<parse_row>({
#define VTRDC_SETTING(key, type, standard, range) {#key, &settings::key, range},
#include "config/settings_list.inc"
#undef VTRDC_SETTING
    });
}

} // namespace setting_ranges

// One row for each key, in the order of the written file.
inline constexpr auto parse_table = setting_ranges::make_parse_table();
inline constexpr std::size_t parse_table_size = parse_table.size();

// Returns the row of that field. A field without a row doesn't compile.
[[nodiscard]] consteval parse_row row_of(settings_field field) {
    std::size_t row = 0;
    while (parse_table.at(row).field != field) {
        ++row;
    }
    return parse_table.at(row);
}

// Returns the range of that field.
[[nodiscard]] consteval value_range range_of(settings_field field) {
    return row_of(field).range;
}

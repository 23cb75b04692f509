// The settings record and its key table, both made from the rows of settings_list.inc.
#pragma once

#include "util/value_tables.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <variant>

// The sight's settings file: read unless the command line names another, and always the one that
// is rewritten.
inline constexpr const char* DEFAULT_CONF_FILE = "/etc/vtrdc.conf";

// Every persistent setting with its built-in default. Texts are borrowed: constants, or copies
// that live until the process ends.
struct settings {
#define VTRDC_SETTING(key, type, standard, range) type key = standard;
#include "config/settings_list.inc"
#undef VTRDC_SETTING
    // Path of the broker's socket; has no key in the file.
    const char* redis_socket_file = "/run/redis.sock";

    // Texts are compared by address: each change stores another.
    bool operator==(const settings&) const = default;
};

// The field that a key names; its alternative is the value's type.
using settings_field =
    std::variant<std::int32_t settings::*, const char * settings::*, double settings::*>;

// The numbers that make sense for a setting, both ends included. Without meaning for texts.
struct value_range {
    double least = -std::numeric_limits<double>::infinity();
    double most = std::numeric_limits<double>::infinity();
    bool is_index = false; // of a table

    // False for what is not a number.
    [[nodiscard]] constexpr bool holds(double value) const {
        return value >= least && value <= most;
    }
};

struct parse_row {
    const char* key;
    settings_field field;
    value_range range;
};

// How the rows write their ranges.
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

// One row a key, in the order of the file that is written.
inline constexpr auto parse_table = setting_ranges::make_parse_table();
inline constexpr std::size_t parse_table_size = parse_table.size();

// The row of the setting that the field holds. A field without a row doesn't compile.
[[nodiscard]] consteval parse_row row_of(settings_field field) {
    std::size_t row = 0;
    while (parse_table.at(row).field != field) {
        ++row;
    }
    return parse_table.at(row);
}

// Its range.
[[nodiscard]] consteval value_range range_of(settings_field field) {
    return row_of(field).range;
}

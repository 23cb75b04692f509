// The sight's three buttons, by the names used in commands and in the page.
#pragma once

#include <cstdint>
#include <linux/input.h>
#include <string_view>

struct button_row {
    std::string_view name;
    std::uint16_t key; // key code that it sends
};

inline constexpr button_row button_rows[] = {
    {"zoom", KEY_HOMEPAGE},
    {"nuc", KEY_BACK},
    {"pol", KEY_MENU},
};

// The sight's three buttons, by the names that persons and pages use.
#pragma once

#include <cstdint>
#include <linux/input.h>
#include <string_view>

struct button_row {
    std::string_view name;
    std::uint16_t key; // that it sends, as the kernel numbers keys
};

inline constexpr button_row button_rows[] = {
    {"zoom", KEY_HOMEPAGE},
    {"nuc", KEY_BACK},
    {"pol", KEY_MENU},
};

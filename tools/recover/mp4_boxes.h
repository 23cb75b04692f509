// The boxes of an MP4 file.
#pragma once

#include "recover/byte_window.h"

#include <functional>
#include <optional>

constexpr std::uint32_t box_type(const char (&name)[5]) {
    std::uint32_t type = 0;
    for (const char letter : {name[0], name[1], name[2], name[3]}) {
        type = type << 8 | static_cast<std::uint8_t>(letter);
    }
    return type;
}

struct box {
    std::uint32_t type;
    std::uint64_t start;
    std::uint64_t content;
    std::uint64_t end; // may exceed the file; a box without a length ends with the file
    bool has_length;
};

// Reads the box at that offset. None if too few bytes are left or its length is invalid.
[[nodiscard]] std::optional<box> read_box(byte_window& file, std::uint64_t offset);

// Calls `visit` with each box. Returns false when `visit` does, or when the boxes don't fill the
// range exactly.
[[nodiscard]] bool for_each_box(byte_window& file, std::uint64_t start, std::uint64_t end,
                                const std::function<bool(const box&)>& visit);

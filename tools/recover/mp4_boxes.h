// The boxes that an MP4 file consists of.
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
    std::uint64_t end; // may lie behind the file's; a box without a length reaches to that
    bool has_length;
};

// The box that begins there. None when too little is left for one, or its length makes no sense.
[[nodiscard]] std::optional<box> read_box(byte_window& file, std::uint64_t offset);

// Calls `visit` with one box after another; false when it answers false, or when they don't fill
// the range exactly.
[[nodiscard]] bool for_each_box(byte_window& file, std::uint64_t start, std::uint64_t end,
                                const std::function<bool(const box&)>& visit);

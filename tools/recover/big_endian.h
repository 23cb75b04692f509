// Big-endian numbers, as in MP4 files and H.264 streams.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

using byte_view = std::span<const std::uint8_t>;

// Reads a number of `width` bytes, 1 to 8, at that offset; 0 if the view is too short.
[[nodiscard]] constexpr std::uint64_t read_number(byte_view bytes, std::size_t place,
                                                  std::size_t width) {
    if (place > bytes.size() || bytes.size() - place < width) {
        return 0;
    }
    std::uint64_t number = 0;
    for (const std::uint8_t byte : bytes.subspan(place, width)) {
        number = number << 8 | byte;
    }
    return number;
}

[[nodiscard]] constexpr std::uint32_t read_u32(byte_view bytes, std::size_t place = 0) {
    return static_cast<std::uint32_t>(read_number(bytes, place, 4));
}

[[nodiscard]] constexpr std::uint64_t read_u64(byte_view bytes, std::size_t place = 0) {
    return read_number(bytes, place, 8);
}

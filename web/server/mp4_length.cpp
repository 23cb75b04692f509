// Duration of a recording, from the box "mvhd" in the box "moov".
#include "mp4_length.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <unistd.h>

namespace web {
namespace {

// Limits the work for malicious files.
constexpr int BOXES_MAX = 64;

constexpr std::size_t BOX_HEAD_BYTES = 8;

struct box {
    std::uint64_t content = 0; // offset in the file
    std::uint64_t end = 0;
};

template <std::size_t Size>
bool read_at(int file, std::uint64_t place, std::array<unsigned char, Size>& bytes) {
    return pread(file, bytes.data(), Size, static_cast<off_t>(place)) == static_cast<ssize_t>(Size);
}

std::uint64_t big_endian(std::span<const unsigned char> bytes) {
    std::uint64_t number = 0;
    for (const unsigned char byte : bytes) {
        number = number << 8U | byte;
    }
    return number;
}

// Returns the first box of that name in the range; none if missing.
std::optional<box> find_box(int file, std::string_view name, box within) {
    for (int boxes = 0; boxes < BOXES_MAX && within.content < within.end; ++boxes) {
        std::array<unsigned char, 2 * BOX_HEAD_BYTES> head{};
        if (!read_at(file, within.content, head)) {
            return std::nullopt;
        }
        const std::span<const unsigned char> bytes(head);
        const bool is_large = big_endian(bytes.first(4)) == 1;
        const std::uint64_t size = big_endian(is_large ? bytes.last(8) : bytes.first(4));
        const std::size_t head_bytes = is_large ? 2 * BOX_HEAD_BYTES : BOX_HEAD_BYTES;
        if (size < head_bytes || size > within.end - within.content) {
            return std::nullopt;
        }
        if (std::string_view(reinterpret_cast<const char*>(&head[4]), 4) == name) {
            return box{within.content + head_bytes, within.content + size};
        }
        within.content += size;
    }
    return std::nullopt;
}

} // namespace

std::optional<double> mp4_seconds(const opened_file& opened) {
    const int file = opened.file.get();
    const auto movie = find_box(file, "moov", {0, static_cast<std::uint64_t>(opened.bytes)});
    const auto head = movie ? find_box(file, "mvhd", *movie) : std::nullopt;
    // Version and flags, two times, time scale, duration.
    std::array<unsigned char, 32> bytes{};
    if (!head || !read_at(file, head->content, bytes)) {
        return std::nullopt;
    }
    const std::span<const unsigned char> fields(bytes);
    const bool is_wide = fields.front() == 1;
    const std::uint64_t scale = big_endian(fields.subspan(is_wide ? 20 : 12, 4));
    const std::uint64_t length =
        big_endian(is_wide ? fields.subspan(24, 8) : fields.subspan(16, 4));
    return scale > 0 && length > 0
               ? std::optional{static_cast<double>(length) / static_cast<double>(scale)}
               : std::nullopt;
}

} // namespace web

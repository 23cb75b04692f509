// The boxes of an MP4 file.
#include "recover/mp4_boxes.h"

namespace {

constexpr std::size_t BOX_HEADER = 8;
constexpr std::size_t LONG_BOX_HEADER = 16;

} // namespace

std::optional<box> read_box(byte_window& file, std::uint64_t offset) {
    const byte_view header = file.at(offset, LONG_BOX_HEADER);
    if (header.size() < BOX_HEADER) {
        return std::nullopt;
    }
    const bool is_long = read_u32(header) == 1;
    const std::uint64_t length = is_long ? read_u64(header, BOX_HEADER) : read_u32(header);
    const std::uint64_t least = is_long ? LONG_BOX_HEADER : BOX_HEADER;
    const bool has_length = length != 0;
    if (has_length && (length < least || length > UINT64_MAX - offset)) {
        return std::nullopt;
    }
    return box{.type = read_u32(header, 4),
               .start = offset,
               .content = offset + least,
               .end = has_length ? offset + length : file.end(),
               .has_length = has_length};
}

bool for_each_box(byte_window& file, std::uint64_t start, std::uint64_t end,
                  const std::function<bool(const box&)>& visit) {
    while (start < end) {
        const std::optional<box> next = read_box(file, start);
        if (!next || !next->has_length || next->end > end || !visit(*next)) {
            return false;
        }
        start = next->end;
    }
    return start == end;
}

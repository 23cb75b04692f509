// Detects the kind of a recording file: complete, or without an index.
#include "recover/outline.h"

#include "recover/mp4_index.h"

#include <algorithm>

namespace {

// True if storage lost the first page.
bool is_zeroed(byte_view header) {
    return std::ranges::all_of(header, [](std::uint8_t byte) { return byte == 0; });
}

bool has_file_type(byte_view header) {
    return read_u32(header) == FILE_TYPE_BYTES && read_u32(header, 4) == box_type("ftyp") &&
           read_u32(header, 8) == box_type("mp42");
}

outline outline_behind(byte_window& file, const box& data) {
    if (!data.has_length || data.end > file.end()) {
        return {.kind = layout::unindexed, .data_end = file.end()};
    }
    const bool is_indexed = read_index(file, data.end).has_value();
    return {.kind = is_indexed ? layout::complete : layout::unindexed,
            .data_end = data.end,
            .index_start = data.end};
}

} // namespace

outline read_outline(byte_window& file) {
    const byte_view header = file.at(0, DATA_START);
    if (header.size() < DATA_START || file.end() == DATA_START) {
        return {.kind = layout::empty};
    }
    if (is_zeroed(header)) {
        return {.kind = layout::unindexed, .data_end = file.end()};
    }
    if (!has_file_type(header)) {
        return {.kind = layout::foreign};
    }
    std::optional<box> data = read_box(file, FILE_TYPE_BYTES);
    if (data && data->type == box_type("free")) {
        data = read_box(file, data->end);
    }
    if (!data || data->type != box_type("mdat") || data->content != DATA_START) {
        return {.kind = layout::foreign};
    }
    return outline_behind(file, *data);
}

// Reads the index of a completed MP4 file.
#include "recover/mp4_index.h"

#include <algorithm>

namespace {

constexpr std::size_t DECODER_CONFIG_MAX = 4096;
// A full box has a version and flags before its fields.
constexpr std::uint64_t FULL_BOX = 4;
constexpr std::uint64_t COUNTED_TABLE = FULL_BOX + 4;
constexpr std::uint64_t SIZE_TABLE = FULL_BOX + 8;

struct track_reading {
    indexed_track track;
    std::uint32_t timescale = 0;
    std::uint64_t duration = 0; // in the track's time scale
    std::uint64_t delay = 0;    // in the movie's
};

struct index_reading {
    byte_window& file;
    std::uint32_t timescale = 0;
    std::vector<track_reading> tracks{};
    unsigned depth = 0; // nesting depth of the current box

    track_reading& track() { return tracks.back(); }
};

std::uint64_t number_at(byte_window& file, std::uint64_t offset, std::size_t width) {
    return read_number(file.at(offset, width), 0, width);
}

bool is_version_1(byte_window& file, const box& full) {
    return number_at(file, full.content, 1) == 1;
}

struct time_header {
    std::uint32_t timescale;
    std::uint64_t duration;
};

// "mvhd" and "mdhd" begin with the same fields: creation and modification times, time scale,
// duration.
time_header read_time_header(byte_window& file, const box& header) {
    const bool is_long = is_version_1(file, header);
    const std::uint64_t scale = header.content + FULL_BOX + (is_long ? 16 : 8);
    return {.timescale = static_cast<std::uint32_t>(number_at(file, scale, 4)),
            .duration = number_at(file, scale + 4, is_long ? 8 : 4)};
}

// A first entry without media delays the track.
void read_edits(index_reading& in, const box& list) {
    const bool is_long = is_version_1(in.file, list);
    const std::size_t width = is_long ? 8 : 4;
    const std::uint64_t entry = list.content + COUNTED_TABLE;
    const std::uint64_t nowhere = is_long ? UINT64_MAX : UINT32_MAX;
    if (entry + 2 * width <= list.end && number_at(in.file, entry + width, width) == nowhere) {
        in.track().delay = number_at(in.file, entry, width);
    }
}

// True if no entry is 0: valid entries never are, but lost storage reads as zeros.
bool has_no_zero(byte_window& file, std::uint64_t start, std::uint64_t end, std::size_t width) {
    if ((end - start) % width != 0) {
        return false;
    }
    for (std::uint64_t at = start; at < end; at += width) {
        if (number_at(file, at, width) == 0) {
            return false;
        }
    }
    return true;
}

bool is_whole_table(index_reading& in, const box& table, std::uint64_t header, std::size_t width) {
    const std::uint64_t start = table.content + header;
    if (start > table.end) {
        return false;
    }
    const std::uint64_t count = number_at(in.file, start - 4, 4);
    return table.end - start == count * width && has_no_zero(in.file, start, table.end, 4);
}

bool is_whole_size_table(index_reading& in, const box& table) {
    const bool is_constant = number_at(in.file, table.content + FULL_BOX, 4) != 0;
    return is_constant || is_whole_table(in, table, SIZE_TABLE, 4);
}

bool is_whole_long_table(index_reading& in, const box& table) {
    const std::uint64_t start = table.content + COUNTED_TABLE;
    return start <= table.end && has_no_zero(in.file, start, table.end, 8);
}

void read_decoder_config(index_reading& in, const box& config) {
    const std::uint64_t length = config.end - config.content;
    const byte_view bytes =
        in.file.at(config.content,
                   static_cast<std::size_t>(std::min<std::uint64_t>(length, DECODER_CONFIG_MAX)));
    in.track().track.decoder_config.assign(bytes.begin(), bytes.end());
}

bool read_entry(index_reading& in, const box& entry) {
    constexpr std::uint64_t PICTURE_ENTRY = 78; // size of its fields before the nested boxes
    if (entry.type != box_type("avc1")) {
        return true;
    }
    return for_each_box(in.file, entry.content + PICTURE_ENTRY, entry.end, [&in](const box& inner) {
        if (inner.type == box_type("avcC")) {
            read_decoder_config(in, inner);
        }
        return true;
    });
}

bool read_any(index_reading& in, const box& found);

bool read_content(index_reading& in, const box& outer) {
    constexpr unsigned DEPTH_MAX = 8;
    if (in.depth == DEPTH_MAX) {
        return false;
    }
    ++in.depth;
    const bool is_whole = for_each_box(in.file, outer.content, outer.end,
                                       [&in](const box& inner) { return read_any(in, inner); });
    --in.depth;
    return is_whole;
}

bool read_header(index_reading& in, const box& found) {
    const time_header times = read_time_header(in.file, found);
    if (found.type == box_type("mvhd")) {
        in.timescale = times.timescale;
    } else if (!in.tracks.empty()) {
        in.track().timescale = times.timescale;
        in.track().duration = times.duration;
    }
    return times.timescale != 0;
}

bool read_inside_track(index_reading& in, const box& found) {
    switch (found.type) {
    case box_type("mdia"):
    case box_type("minf"):
    case box_type("stbl"):
    case box_type("edts"):
        return read_content(in, found);
    case box_type("elst"):
        read_edits(in, found);
        return true;
    case box_type("hdlr"):
        if (in.track().track.kind == 0) {
            in.track().track.kind =
                static_cast<std::uint32_t>(number_at(in.file, found.content + 8, 4));
        }
        return true;
    case box_type("stsd"):
        return for_each_box(in.file, found.content + COUNTED_TABLE, found.end,
                            [&in](const box& entry) { return read_entry(in, entry); });
    case box_type("stsz"):
        return is_whole_size_table(in, found);
    case box_type("stco"):
        return is_whole_table(in, found, COUNTED_TABLE, 4);
    case box_type("stsc"):
        return is_whole_table(in, found, COUNTED_TABLE, 12);
    case box_type("stts"): // a count and a duration; the duration may be 0
    case box_type("co64"):
        return is_whole_long_table(in, found);
    default:
        return true;
    }
}

bool read_any(index_reading& in, const box& found) {
    if (found.type == 0) { // zeros instead of a box
        return false;
    }
    if (found.type == box_type("trak")) {
        in.tracks.emplace_back();
        return read_content(in, found);
    }
    if (found.type == box_type("mvhd") || found.type == box_type("mdhd")) {
        return read_header(in, found);
    }
    return in.tracks.empty() || read_inside_track(in, found);
}

indexed_track finished(const track_reading& reading, std::uint32_t movie_timescale) {
    indexed_track track = reading.track;
    track.end_s = static_cast<double>(reading.delay) / movie_timescale +
                  static_cast<double>(reading.duration) / reading.timescale;
    return track;
}

} // namespace

std::optional<std::vector<indexed_track>> read_index(byte_window& file, std::uint64_t offset) {
    const std::optional<box> index = read_box(file, offset);
    if (!index || index->type != box_type("moov") || !index->has_length ||
        index->end > file.end()) {
        return std::nullopt;
    }
    index_reading in{.file = file};
    if (!read_content(in, *index) || in.timescale == 0 || in.tracks.empty()) {
        return std::nullopt;
    }
    std::vector<indexed_track> tracks;
    for (const track_reading& reading : in.tracks) {
        if (reading.timescale == 0) {
            return std::nullopt;
        }
        tracks.push_back(finished(reading, in.timescale));
    }
    return tracks;
}

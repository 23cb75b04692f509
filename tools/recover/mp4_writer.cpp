// Writes the header and the index of an MP4 file.
#include "recover/mp4_writer.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr std::uint32_t MOVIE_TIMESCALE = 10000;
constexpr std::uint32_t UNITY = 0x10000; // 1 as a fixed-point number

// Builds nested boxes in file order.
class box_writer {
public:
    void number(std::uint64_t value, unsigned width) {
        while (width-- > 0) {
            bytes_.push_back(static_cast<std::uint8_t>(value >> 8 * width & 0xff));
        }
    }
    void u8(std::uint64_t value) { number(value, 1); }
    void u16(std::uint64_t value) { number(value, 2); }
    void u32(std::uint64_t value) { number(value, 4); }
    void u64(std::uint64_t value) { number(value, 8); }
    void zeros(unsigned count) { bytes_.insert(bytes_.end(), count, 0); }
    void text(std::string_view text) { bytes_.insert(bytes_.end(), text.begin(), text.end()); }
    void raw(byte_view bytes) { bytes_.insert(bytes_.end(), bytes.begin(), bytes.end()); }

    template <class Content> void box(const char (&name)[5], Content content) {
        const std::size_t start = bytes_.size();
        u32(0);
        u32(box_type(name));
        content();
        const std::size_t length = bytes_.size() - start;
        for (unsigned i = 0; i < 4; ++i) {
            bytes_[start + i] = static_cast<std::uint8_t>(length >> 8 * (3 - i) & 0xff);
        }
    }

    template <class Content>
    void full_box(const char (&name)[5], unsigned version, std::uint32_t flags, Content content) {
        box(name, [&] {
            u32(std::uint64_t{version} << 24 | flags);
            content();
        });
    }

    [[nodiscard]] std::vector<std::uint8_t> take() && { return std::move(bytes_); }

private:
    std::vector<std::uint8_t> bytes_;
};

std::uint64_t in_movie_time(double seconds) {
    return static_cast<std::uint64_t>(std::llround(seconds * MOVIE_TIMESCALE));
}

void put_matrix(box_writer& out) {
    for (const std::uint32_t value : {UNITY, 0U, 0U, 0U, UNITY, 0U, 0U, 0U, 0x40000000U}) {
        out.u32(value);
    }
}

void put_movie_header(box_writer& out, double length_s) {
    constexpr std::uint32_t NEXT_TRACK = 3;
    out.full_box("mvhd", 1, 0, [&] {
        out.zeros(16); // creation and modification times
        out.u32(MOVIE_TIMESCALE);
        out.u64(in_movie_time(length_s));
        out.u32(UNITY); // rate
        out.u16(0x100); // volume
        out.zeros(10);
        put_matrix(out);
        out.zeros(24);
        out.u32(NEXT_TRACK);
    });
}

// Differences between the two kinds of tracks.
struct track_kind {
    std::uint32_t number;
    const char* handler;
    std::uint32_t width;
    std::uint32_t height;
};

void put_track_header(box_writer& out, const track_kind& kind, double end_s) {
    constexpr std::uint32_t ENABLED_IN_MOVIE = 3;
    out.full_box("tkhd", 1, ENABLED_IN_MOVIE, [&] {
        out.zeros(16);
        out.u32(kind.number);
        out.zeros(4);
        out.u64(in_movie_time(end_s));
        out.zeros(12);                          // layer and group
        out.u16(kind.width == 0 ? 0x100U : 0U); // volume
        out.zeros(2);
        put_matrix(out);
        out.u32(kind.width << 16);
        out.u32(kind.height << 16);
    });
}

// Delays a track that begins later than the other one.
void put_edits(box_writer& out, double delay_s, double length_s) {
    const std::uint64_t delay = in_movie_time(delay_s);
    out.box("edts", [&] {
        out.full_box("elst", 1, 0, [&] {
            out.u32(delay > 0 ? 2 : 1);
            if (delay > 0) {
                out.u64(delay);
                out.u64(UINT64_MAX); // no media
                out.u32(UNITY);
            }
            out.u64(in_movie_time(length_s));
            out.u64(0);
            out.u32(UNITY);
        });
    });
}

void put_media_header(box_writer& out, const track_table& table) {
    constexpr std::uint32_t NO_LANGUAGE = 0x55c4; // "und"
    std::uint64_t ticks = 0;
    for (const track_table::duration& run : table.durations) {
        ticks += std::uint64_t{run.samples} * run.ticks;
    }
    out.full_box("mdhd", 1, 0, [&] {
        out.zeros(16);
        out.u32(table.timescale);
        out.u64(ticks);
        out.u16(NO_LANGUAGE);
        out.zeros(2);
    });
}

void put_handler(box_writer& out, const track_kind& kind) {
    out.full_box("hdlr", 0, 0, [&] {
        out.zeros(4);
        out.text(kind.handler);
        out.zeros(12 + 1); // and an empty name
    });
}

void put_picture_entry(box_writer& out, const parameter_sets& sets) {
    out.box("avc1", [&] {
        out.zeros(6);
        out.u16(1); // data location: this file
        out.zeros(16);
        out.u16(sets.first_sequence().width);
        out.u16(sets.first_sequence().height);
        out.u32(72 * UNITY); // dots an inch
        out.u32(72 * UNITY);
        out.zeros(4);
        out.u16(1); // picture a sample
        out.zeros(32);
        out.u16(24); // bits a dot
        out.u16(0xffff);
        out.box("avcC", [&] { out.raw(sets.decoder_config()); });
    });
}

// Says in MPEG-4's terms that the sound is MP3.
void put_sound_descriptor(box_writer& out) {
    constexpr std::uint8_t MPEG1_AUDIO = 0x6b;
    constexpr std::uint8_t AUDIO_STREAM = 5 << 2 | 1;
    out.full_box("esds", 0, 0, [&] {
        out.u8(3); // ES descriptor
        out.u8(21);
        out.u16(0);
        out.u8(0);
        out.u8(4); // decoder configuration descriptor
        out.u8(13);
        out.u8(MPEG1_AUDIO);
        out.u8(AUDIO_STREAM);
        out.zeros(11); // buffer size and bit rates: unknown
        out.u8(6);     // SL configuration descriptor: as for MP4 files
        out.u8(1);
        out.u8(2);
    });
}

void put_sound_entry(box_writer& out, const mp3_frame& sound) {
    out.box("mp4a", [&] {
        out.zeros(6);
        out.u16(1); // data location: this file
        out.zeros(8);
        out.u16(sound.channels);
        out.u16(16); // bits a value
        out.zeros(4);
        out.u32(sound.rate << 16);
        put_sound_descriptor(out);
    });
}

void put_durations(box_writer& out, const track_table& table) {
    out.full_box("stts", 0, 0, [&] {
        out.u32(table.durations.size());
        for (const track_table::duration& run : table.durations) {
            out.u32(run.samples);
            out.u32(run.ticks);
        }
    });
}

void put_keys(box_writer& out, const track_table& table) {
    out.full_box("stss", 0, 0, [&] {
        out.u32(table.keys.size());
        for (const std::uint32_t key : table.keys) {
            out.u32(key + 1);
        }
    });
}

std::uint32_t samples_in(const track_table& table, std::size_t chunk) {
    const std::size_t end =
        chunk + 1 < table.chunks.size() ? table.chunks[chunk + 1].first : table.sizes.size();
    return static_cast<std::uint32_t>(end) - table.chunks[chunk].first;
}

// Writes an entry for each chunk whose number of samples differs from the previous one.
void put_chunk_lengths(box_writer& out, const track_table& table) {
    std::vector<std::size_t> changes;
    for (std::size_t chunk = 0; chunk < table.chunks.size(); ++chunk) {
        if (chunk == 0 || samples_in(table, chunk) != samples_in(table, chunk - 1)) {
            changes.push_back(chunk);
        }
    }
    out.full_box("stsc", 0, 0, [&] {
        out.u32(changes.size());
        for (const std::size_t chunk : changes) {
            out.u32(chunk + 1);
            out.u32(samples_in(table, chunk));
            out.u32(1); // index of the sample description
        }
    });
}

void put_sizes(box_writer& out, const track_table& table) {
    out.full_box("stsz", 0, 0, [&] {
        out.u32(0);
        out.u32(table.sizes.size());
        for (const std::uint32_t size : table.sizes) {
            out.u32(size);
        }
    });
}

void put_offsets(box_writer& out, const track_table& table) {
    const bool is_long = table.chunks.back().offset > UINT32_MAX;
    const auto offsets = [&] {
        out.u32(table.chunks.size());
        for (const track_table::chunk& chunk : table.chunks) {
            out.number(chunk.offset, is_long ? 8 : 4);
        }
    };
    is_long ? out.full_box("co64", 0, 0, offsets) : out.full_box("stco", 0, 0, offsets);
}

void put_data_place(box_writer& out) {
    constexpr std::uint32_t IN_THIS_FILE = 1;
    out.box("dinf", [&] {
        out.full_box("dref", 0, 0, [&] {
            out.u32(1);
            out.full_box("url ", 0, IN_THIS_FILE, [] {});
        });
    });
}

template <class Entry> void put_tables(box_writer& out, const track_table& table, Entry put_entry) {
    out.box("stbl", [&] {
        out.full_box("stsd", 0, 0, [&] {
            out.u32(1);
            put_entry();
        });
        put_durations(out, table);
        if (!table.keys.empty()) { // without this box every sample is a key frame
            put_keys(out, table);
        }
        put_chunk_lengths(out, table);
        put_sizes(out, table);
        put_offsets(out, table);
    });
}

void put_media_kind(box_writer& out, const track_kind& kind) {
    kind.width > 0 ? out.full_box("vmhd", 0, 1, [&] { out.zeros(8); })
                   : out.full_box("smhd", 0, 0, [&] { out.zeros(4); });
}

template <class Entry>
void put_track(box_writer& out, const track_kind& kind, const track_table& table,
               double movie_start_s, Entry put_entry) {
    const double delay_s = table.start_s - movie_start_s;
    out.box("trak", [&] {
        put_track_header(out, kind, delay_s + table.length_s());
        put_edits(out, delay_s, table.length_s());
        out.box("mdia", [&] {
            put_media_header(out, table);
            put_handler(out, kind);
            out.box("minf", [&] {
                put_media_kind(out, kind);
                put_data_place(out);
                put_tables(out, table, put_entry);
            });
        });
    });
}

double start_of(const movie& movie) {
    if (movie.pictures.sizes.empty()) {
        return movie.sound.start_s;
    }
    return movie.sound.sizes.empty() ? movie.pictures.start_s
                                     : std::min(movie.pictures.start_s, movie.sound.start_s);
}

} // namespace

file_header make_header(std::uint64_t data_bytes) {
    constexpr std::uint64_t BOX_HEADER = 8;
    constexpr std::uint32_t BOX_LENGTH_FOLLOWS = 1;
    box_writer out;
    out.box("ftyp", [&] {
        out.text("mp42");
        out.u32(0);
        out.text("mp42mp41isomiso2");
    });
    if (data_bytes + BOX_HEADER <= UINT32_MAX) {
        out.box("free", [] {});
        out.u32(data_bytes + BOX_HEADER);
        out.text("mdat");
    } else {
        out.u32(BOX_LENGTH_FOLLOWS);
        out.text("mdat");
        out.u64(data_bytes + 2 * BOX_HEADER);
    }
    file_header header{};
    std::ranges::copy(std::move(out).take(), header.begin());
    return header;
}

std::vector<std::uint8_t> make_index(const movie& movie, const parameter_sets& sets,
                                     const std::optional<mp3_frame>& sound) {
    box_writer out;
    const double start_s = start_of(movie);
    out.box("moov", [&] {
        put_movie_header(out, movie.length_s());
        if (!movie.pictures.sizes.empty()) {
            const sequence_set& sequence = sets.first_sequence();
            put_track(out, {1, "vide", sequence.width, sequence.height}, movie.pictures, start_s,
                      [&] { put_picture_entry(out, sets); });
        }
        if (!movie.sound.sizes.empty()) {
            put_track(out, {2, "soun", 0, 0}, movie.sound, start_s,
                      [&] { put_sound_entry(out, *sound); });
        }
    });
    return std::move(out).take();
}

// The tracks of a recovered recording, as in an index.
#include "recover/movie.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr std::uint32_t PICTURE_TIMESCALE = 30000;

class track_builder {
public:
    explicit track_builder(std::uint32_t timescale) { table_.timescale = timescale; }

    void begin_chunk(std::uint64_t offset) {
        table_.chunks.push_back({offset, static_cast<std::uint32_t>(table_.sizes.size())});
        chunk_end_ = offset;
    }

    void add(std::uint64_t offset, std::uint32_t size, double time_s) {
        if (table_.sizes.empty()) {
            table_.start_s = time_s;
        } else {
            add_duration(ticks_at(time_s));
        }
        if (table_.chunks.empty() || offset != chunk_end_) {
            begin_chunk(offset);
        }
        table_.sizes.push_back(size);
        chunk_end_ = offset + size;
    }

    void add_key() { table_.keys.push_back(static_cast<std::uint32_t>(table_.sizes.size())); }

    [[nodiscard]] track_table finish(double last_s) && {
        if (!table_.sizes.empty()) {
            const double ticks = std::round(last_s * table_.timescale);
            add_duration(last_ + static_cast<std::int64_t>(ticks));
        }
        return std::move(table_);
    }

private:
    [[nodiscard]] std::int64_t ticks_at(double time_s) const {
        return std::llround((time_s - table_.start_s) * table_.timescale);
    }

    // Sets the duration of the sample before the one at time `next`.
    void add_duration(std::int64_t next) {
        next = std::max(next, last_);
        const auto ticks = static_cast<std::uint32_t>(next - last_);
        if (table_.durations.empty() || table_.durations.back().ticks != ticks) {
            table_.durations.push_back({0, ticks});
        }
        ++table_.durations.back().samples;
        last_ = next;
    }

    track_table table_;
    std::uint64_t chunk_end_ = 0;
    std::int64_t last_ = 0;
};

// Calls `visit` with number, offset, size and time of each sample of a run.
template <class Visit>
void for_each_sample(const sample_run& run, const run_times& times,
                     const std::vector<std::uint32_t>& sizes, Visit visit) {
    std::uint64_t offset = run.offset;
    for (std::uint32_t i = 0; i < run.count; ++i) {
        const std::uint32_t size = sizes[run.first + i];
        visit(run.first + i, offset, size, times.start_s + i * times.step_s);
        offset += size;
    }
}

track_table make_sound(const scanned& found, const std::vector<run_times>& times) {
    track_builder builder{found.sound->rate};
    for (std::size_t i = 0; i < found.runs.size(); ++i) {
        if (found.runs[i].kind == sample_kind::sound) {
            for_each_sample(found.runs[i], times[i], found.sound_sizes,
                            [&](std::uint32_t, std::uint64_t offset, std::uint32_t size,
                                double time_s) { builder.add(offset, size, time_s); });
        }
    }
    return std::move(builder).finish(sound_frame_s(*found.sound));
}

track_table make_pictures(const scanned& found, const std::vector<run_times>& times) {
    track_builder builder{PICTURE_TIMESCALE};
    auto key = found.key_pictures.begin();
    bool is_decodable = false; // from the first key frame on
    for (std::size_t i = 0; i < found.runs.size(); ++i) {
        const sample_run& run = found.runs[i];
        is_decodable = is_decodable && run.lost_pictures == 0 && run.goes_on;
        if (run.kind == sample_kind::sound) {
            continue;
        }
        for_each_sample(
            run, times[i], found.picture_sizes,
            [&](std::uint32_t number, std::uint64_t offset, std::uint32_t size, double time_s) {
                const bool is_key = key != found.key_pictures.end() && *key == number;
                if (is_key) {
                    builder.add_key();
                    ++key;
                }
                is_decodable = is_decodable || is_key;
                if (is_decodable) {
                    builder.add(offset, size, time_s);
                }
            });
    }
    return std::move(builder).finish(PICTURE_S);
}

} // namespace

double track_table::length_s() const {
    double ticks = 0;
    for (const duration& run : durations) {
        ticks += static_cast<double>(run.samples) * run.ticks;
    }
    return timescale == 0 ? 0 : ticks / timescale;
}

double movie::length_s() const {
    if (pictures.sizes.empty() || sound.sizes.empty()) {
        return pictures.length_s() + sound.length_s();
    }
    return std::max(pictures.start_s + pictures.length_s(), sound.start_s + sound.length_s()) -
           std::min(pictures.start_s, sound.start_s);
}

movie make_movie(const scanned& found, const std::vector<run_times>& times) {
    return {.pictures = make_pictures(found, times),
            .sound = found.sound ? make_sound(found, times) : track_table{}};
}

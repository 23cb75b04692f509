// Estimates how many samples were lost in a damaged place.
#include "recover/lost_samples.h"

#include "recover/key_rhythm.h"
#include "recover/turns.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <numeric>

namespace {

struct lost_counts {
    std::int64_t pictures = 0;
    std::int64_t sounds = 0;

    std::int64_t& of(sample_kind kind) { return kind == sample_kind::picture ? pictures : sounds; }
};

// Samples in a chunk, and bytes in a sample, of each kind.
struct measures {
    unsigned picture_chunk;
    unsigned sound_chunk;
    double picture_bytes;
    double sound_bytes;

    [[nodiscard]] unsigned chunk(sample_kind kind) const {
        return kind == sample_kind::picture ? picture_chunk : sound_chunk;
    }
    [[nodiscard]] double sample_bytes(sample_kind kind) const {
        return kind == sample_kind::picture ? picture_bytes : sound_bytes;
    }
    [[nodiscard]] double bytes(const lost_counts& lost) const {
        return static_cast<double>(lost.pictures) * picture_bytes +
               static_cast<double>(lost.sounds) * sound_bytes;
    }
};

// A range of bytes without valid samples.
struct damage {
    double bytes;
    sample_kind kind_before;
    std::uint64_t count_before; // consecutive samples of that kind, including lost ones
    sample_kind kind_behind;
    std::uint64_t count_behind;
    bool ends_behind;             // the next run ends where it ended in the recording
    std::uint32_t picture_behind; // number of the next picture
};

double mean(const std::vector<std::uint32_t>& sizes) {
    return sizes.empty() ? 0
                         : std::accumulate(sizes.begin(), sizes.end(), 0.0) /
                               static_cast<double>(sizes.size());
}

sample_kind other_kind(sample_kind kind) {
    return kind == sample_kind::picture ? sample_kind::sound : sample_kind::picture;
}

// Returns how many more samples complete the last chunk of a run.
unsigned missing_in_chunk(std::uint64_t count, unsigned chunk) {
    return static_cast<unsigned>((chunk - count % chunk) % chunk);
}

// Possible losses: the rest of the chunks before and after, and whole chunks between.
lost_counts lost_with_chunks(const damage& at, const measures& sizes, unsigned rounds,
                             unsigned further) {
    lost_counts lost;
    const unsigned chunk = sizes.chunk(at.kind_before);
    if (at.kind_before != at.kind_behind) {
        lost.of(at.kind_before) = missing_in_chunk(at.count_before, chunk);
        lost.of(at.kind_behind) = missing_in_chunk(at.count_behind, sizes.chunk(at.kind_behind));
        further = 0;
    } else {
        lost.of(at.kind_before) = missing_in_chunk(at.count_before + at.count_behind, chunk);
    }
    const sample_kind other =
        at.kind_before == sample_kind::picture ? sample_kind::sound : sample_kind::picture;
    lost.of(at.kind_before) += std::int64_t{rounds} * chunk;
    lost.of(other) += std::int64_t{rounds + further} * sizes.chunk(other);
    return lost;
}

lost_counts lost_by_bytes(const damage& at, const measures& sizes) {
    lost_counts lost;
    lost.of(at.kind_behind) =
        std::max(1L, std::lround(at.bytes / sizes.sample_bytes(at.kind_behind)));
    return lost;
}

// Returns the possible counts that fit best. Bytes determine the number of rounds only roughly,
// since picture sizes vary.
lost_counts lost_in(const damage& at, const measures& sizes, const key_rhythm& keys) {
    lost_counts best = lost_by_bytes(at, sizes);
    if (!at.ends_behind) {
        return best;
    }
    const double round_bytes = sizes.bytes({sizes.picture_chunk, sizes.sound_chunk});
    const double rounds_max = at.bytes / round_bytes + 3;
    double best_error = 3 * round_bytes;
    for (unsigned step = 0; step / 2 <= rounds_max; ++step) {
        const lost_counts lost = lost_with_chunks(at, sizes, step / 2, step % 2);
        if (lost.pictures + lost.sounds == 0) {
            continue;
        }
        const double error = std::abs(sizes.bytes(lost) - at.bytes) +
                             (keys.fits(at.picture_behind, lost.pictures) ? 0 : 2 * round_bytes);
        if (error < best_error) {
            best = lost;
            best_error = error;
        }
    }
    return best;
}

measures measures_of(const scanned& found) {
    return {.picture_chunk = PICTURE_CHUNK,
            .sound_chunk = found.sound ? sound_chunk(*found.sound) : 0,
            .picture_bytes = mean(found.picture_sizes),
            .sound_bytes = mean(found.sound_sizes)};
}

bool is_whole_behind(const scanned& found, std::size_t run) {
    return has_both_kinds(found) && run + 1 < found.runs.size() &&
           found.runs[run + 1].damage_before == 0;
}

// Range of how much later than the first sound the first picture is.
struct offset_bounds {
    double from_s = -NEVER;
    double to_s = NEVER;

    // Returns false, without changes, if the ranges don't overlap.
    bool narrow(const offset_bounds& others) {
        const double from = std::max(from_s, others.from_s);
        const double to = std::min(to_s, others.to_s);
        if (from > to) {
            return false;
        }
        *this = {from, to};
        return true;
    }

    // Length of the overlap; negative if there is none.
    [[nodiscard]] double overlap(const offset_bounds& other, double shift_s) const {
        return std::min(to_s, other.to_s + shift_s) - std::max(from_s, other.from_s + shift_s);
    }
};

offset_bounds bounds_of(const turn& at) {
    return {at.earliest_s - at.slots * PICTURE_S, at.latest_s - at.slots * PICTURE_S};
}

// Narrows the range by consecutive turns. Stops at the first that doesn't fit, because pictures
// were dropped, and returns false.
template <class Turns> bool narrow_by(offset_bounds& bounds, Turns first, Turns last) {
    return std::all_of(first, last, [&](const turn& at) { return bounds.narrow(bounds_of(at)); });
}

// The known offset; otherwise assumes that pictures and sound began together.
offset_bounds bounds_at_start(std::optional<double> known_offset_s) {
    constexpr double KNOWN_S = 0.002;
    constexpr double TOGETHER_S = 0.04;
    const double around = known_offset_s ? KNOWN_S : TOGETHER_S;
    return {known_offset_s.value_or(0) - around, known_offset_s.value_or(0) + around};
}

// A correction of the estimated losses, in chunks of sound and in pictures.
struct correction {
    int chunks;
    int pictures;
};

// Likelier ones first. A chunk of sound may have been alone; a picture may have been dropped.
constexpr std::array CORRECTIONS = std::to_array<correction>(
    {{0, 0}, {1, 0}, {-1, 0}, {0, -1}, {0, 1}, {1, -1}, {-1, -1}, {1, 1}, {-1, 1}});

bool is_possible(const sample_run& run, const correction& change, unsigned chunk) {
    return std::int64_t{run.lost_pictures} + change.pictures >= 0 &&
           std::int64_t{run.lost_sounds} + std::int64_t{change.chunks} * chunk >= 0;
}

// The offset between pictures and sound is the same before and after the damage.
void correct_lost(scanned& found, std::size_t run, std::optional<double> known_offset_s) {
    constexpr double TOLERANCE_S = 0.005;
    const std::vector<turn> turns = list_turns(found, slot_rule::by_chunk);
    const auto behind = std::ranges::find_if(turns, [&](const turn& at) { return at.run > run; });
    offset_bounds bounds_before;
    if (narrow_by(bounds_before, std::make_reverse_iterator(behind), turns.rend())) {
        static_cast<void>(bounds_before.narrow(bounds_at_start(known_offset_s)));
    }
    offset_bounds bounds_behind;
    narrow_by(bounds_behind, behind, turns.end());
    const unsigned chunk = sound_chunk(*found.sound);
    sample_run& damaged = found.runs[run];
    for (const correction& change : CORRECTIONS) {
        const double shift =
            change.chunks * (chunk * sound_frame_s(*found.sound)) - change.pictures * PICTURE_S;
        if (is_possible(damaged, change, chunk) &&
            bounds_before.overlap(bounds_behind, shift) > -TOLERANCE_S) {
            damaged.lost_pictures += static_cast<std::uint32_t>(change.pictures);
            damaged.lost_sounds += static_cast<std::uint32_t>(change.chunks) * chunk;
            return;
        }
    }
}

void count_by_chunks(scanned& found) {
    const measures sizes = measures_of(found);
    const key_rhythm keys{found};
    std::uint64_t in_a_row = 0; // samples of the last run's kind, including lost ones
    std::uint32_t pictures = 0;
    for (std::size_t i = 0; i < found.runs.size(); ++i) {
        sample_run& run = found.runs[i];
        lost_counts lost;
        if (run.damage_before > 0) {
            // Treat the beginning of the file like the end of a chunk.
            lost = lost_in({.bytes = static_cast<double>(run.damage_before),
                            .kind_before = i > 0 ? found.runs[i - 1].kind : other_kind(run.kind),
                            .count_before = in_a_row,
                            .kind_behind = run.kind,
                            .count_behind = run.count,
                            .ends_behind = is_whole_behind(found, i),
                            .picture_behind = pictures},
                           sizes, keys);
        }
        run.lost_pictures = static_cast<std::uint32_t>(lost.pictures);
        run.lost_sounds = static_cast<std::uint32_t>(lost.sounds);
        const bool continues = i > 0 && found.runs[i - 1].kind == run.kind;
        in_a_row =
            (continues ? in_a_row : 0) + run.count + static_cast<std::uint64_t>(lost.of(run.kind));
        pictures += run.kind == sample_kind::picture ? run.count : 0;
    }
}

} // namespace

void count_lost_samples(scanned& found, std::optional<double> known_offset_s) {
    count_by_chunks(found);
    for (std::size_t i = 0; i < found.runs.size() && has_both_kinds(found); ++i) {
        if (found.runs[i].damage_before > 0) {
            correct_lost(found, i, known_offset_s);
        }
    }
}

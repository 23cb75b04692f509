// Reconstructs the time of each sample from the order in which the muxer wrote them.
#include "recover/clock.h"

#include "recover/dropped_pictures.h"

#include <array>

namespace {

// Rounding of time stamps.
constexpr double ROUNDING_S = 0.0001;
// Possible errors of time stamps that are times of arrival.
constexpr std::array JITTERS_S{0.01, 0.02, 0.04, 0.08};

std::vector<run_times> lay_out(const scanned& found, const std::vector<turn>& turns,
                               const dropped_pictures& dropped, slot_rule rule) {
    const double frame = sound_frame_s(*found.sound);
    std::vector<run_times> times;
    double slots = 0;
    double sounds = 0;
    double drops = 0;
    std::size_t next = 0; // index of a turn
    for (std::size_t i = 0; i < found.runs.size(); ++i) {
        const sample_run& run = found.runs[i];
        slots += run.lost_pictures;
        sounds += run.lost_sounds;
        if (run.kind == sample_kind::sound) {
            times.push_back({sounds * frame, frame});
            sounds += run.count;
            continue;
        }
        if (next < turns.size() && turns[next].run == i) {
            drops = dropped.before_turn[next++];
        }
        const double length = slots_of(found, i, rule);
        times.push_back(
            {dropped.offset_s + (slots + drops) * PICTURE_S, PICTURE_S * length / run.count});
        slots += length;
    }
    return times;
}

std::vector<run_times> tell_times_of_both(const scanned& found, std::optional<double> known) {
    const double frame = sound_frame_s(*found.sound);
    const std::vector<turn> exact = list_turns(found, slot_rule::by_chunk);
    if (const auto dropped = fewest_drops(exact, ROUNDING_S, known, frame)) {
        return lay_out(found, exact, *dropped, slot_rule::by_chunk);
    }
    const std::vector<turn> rough = list_turns(found, slot_rule::by_picture);
    for (const double jitter : JITTERS_S) {
        if (const auto dropped = fewest_drops(rough, jitter, known, frame)) {
            return lay_out(found, rough, *dropped, slot_rule::by_picture);
        }
    }
    return lay_out(found, rough, follow_turns(rough, known), slot_rule::by_picture);
}

// Constant rate, with gaps where samples were lost.
std::vector<run_times> tell_times_of_one_kind(const scanned& found) {
    std::vector<run_times> times;
    double samples = 0;
    for (const sample_run& run : found.runs) {
        const bool is_picture = run.kind == sample_kind::picture;
        const double step = is_picture ? PICTURE_S : sound_frame_s(*found.sound);
        samples += is_picture ? run.lost_pictures : run.lost_sounds;
        times.push_back({samples * step, step});
        samples += run.count;
    }
    return times;
}

} // namespace

std::vector<run_times> tell_times(const scanned& found, std::optional<double> known_offset_s) {
    return has_both_kinds(found) ? tell_times_of_both(found, known_offset_s)
                                 : tell_times_of_one_kind(found);
}

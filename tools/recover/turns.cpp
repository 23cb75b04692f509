// The muxer's turns between pictures and sound; each limits the time of a picture.
#include "recover/turns.h"

#include <algorithm>

namespace {

// The last runs of a completed recording are interleaved by other rules.
constexpr std::size_t LAST_RUNS = 2;

bool is_last(const scanned& found, std::size_t run) {
    return run + LAST_RUNS >= found.runs.size();
}

bool is_damaged_behind(const scanned& found, std::size_t run) {
    return run + 1 < found.runs.size() && found.runs[run + 1].damage_before > 0;
}

} // namespace

double slots_of(const scanned& found, std::size_t run, slot_rule rule) {
    const bool is_whole_chunk = found.runs[run].damage_before == 0 &&
                                !is_damaged_behind(found, run) && !is_last(found, run);
    return rule == slot_rule::by_chunk && is_whole_chunk ? PICTURE_CHUNK : found.runs[run].count;
}

std::vector<turn> list_turns(const scanned& found, slot_rule rule) {
    const double frame_s = sound_frame_s(*found.sound);
    const double chunk = sound_chunk(*found.sound);
    std::vector<turn> turns;
    double slots = 0;
    double sounds = 0;
    for (std::size_t i = 0; i < found.runs.size(); ++i) {
        const sample_run& run = found.runs[i];
        slots += run.lost_pictures;
        sounds += run.lost_sounds;
        if (run.kind == sample_kind::sound) {
            sounds += run.count;
            continue;
        }
        if (run.damage_before == 0 && !is_last(found, i)) {
            const double last_choice = std::max(0.0, sounds - chunk);
            turns.push_back({.run = i,
                             .slots = slots,
                             .earliest_s = sounds > 0 ? last_choice * frame_s : -NEVER,
                             .latest_s = sounds * frame_s});
        }
        slots += slots_of(found, i, rule);
    }
    return turns;
}

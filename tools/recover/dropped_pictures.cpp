// Finds the pictures that were dropped before encoding, from the muxer's turns.
#include "recover/dropped_pictures.h"

#include <algorithm>
#include <cmath>

namespace {

// Number of pictures dropped before each turn, except those that short chunks account for.
struct drop_plan {
    std::vector<double> drops;
    double total = 0;
};

// Returns the fewest drops that explain every turn, or none. Their exact places are unknown, so
// each is put in the middle of the possible range.
std::optional<drop_plan> plan_drops(const std::vector<turn>& turns, double offset, double slack) {
    constexpr double EPSILON = 1e-6;
    drop_plan plan;
    plan.drops.resize(turns.size());
    double low = 0;
    for (std::size_t i = 0; i < turns.size(); ++i) {
        const turn& at = turns[i];
        low = std::max(
            low, std::ceil((at.earliest_s - slack - offset) / PICTURE_S - at.slots - EPSILON));
        plan.drops[i] = low;
    }
    plan.total = low;
    double high = low;
    for (std::size_t i = turns.size(); i-- > 0;) {
        const turn& at = turns[i];
        high = std::min(
            high, std::floor((at.latest_s + slack - offset) / PICTURE_S - at.slots + EPSILON));
        if (high < plan.drops[i]) {
            return std::nullopt;
        }
        plan.drops[i] = std::floor((plan.drops[i] + high) / 2);
    }
    return plan;
}

struct span_s {
    double from;
    double to;
};

// Returns the range of the first picture's time, from the first turn that limits it on both sides.
std::optional<span_s> possible_offsets(const std::vector<turn>& turns) {
    for (const turn& at : turns) {
        if (at.earliest_s > -NEVER) {
            return span_s{at.earliest_s - at.slots * PICTURE_S, at.latest_s - at.slots * PICTURE_S};
        }
    }
    return std::nullopt;
}

// Returns the longest range of offsets that need the fewest drops.
std::optional<span_s> likeliest_offsets(const std::vector<turn>& turns, double slack) {
    constexpr double STEP_S = 0.00025;
    const std::optional<span_s> possible = possible_offsets(turns);
    if (!possible) {
        return std::nullopt;
    }
    std::optional<span_s> best;
    std::optional<span_s> stretch;
    double best_total = NEVER;
    double total_before = NEVER;
    for (double offset = possible->from; offset <= possible->to; offset += STEP_S) {
        const std::optional<drop_plan> plan = plan_drops(turns, offset, slack);
        const double total = plan ? plan->total : NEVER;
        stretch = total == total_before && stretch ? span_s{stretch->from, offset}
                                                   : span_s{offset, offset};
        total_before = total;
        const bool is_longer = !best || stretch->to - stretch->from > best->to - best->from;
        if (total < best_total || (total == best_total && is_longer && plan)) {
            best = stretch;
            best_total = total;
        }
    }
    return best_total < NEVER ? best : std::nullopt;
}

double choose_offset(const span_s& likely, std::optional<double> known, double frame) {
    if (!known && likely.to - likely.from < frame) {
        return (likely.from + likely.to) / 2;
    }
    // Unless known otherwise, pictures and sound began together.
    return std::clamp(known.value_or(0.0), likely.from, likely.to);
}

} // namespace

std::optional<dropped_pictures> fewest_drops(const std::vector<turn>& turns, double slack_s,
                                             std::optional<double> known_offset_s, double frame_s) {
    const std::optional<span_s> likely = likeliest_offsets(turns, slack_s);
    if (!likely) {
        return std::nullopt;
    }
    const double offset = choose_offset(*likely, known_offset_s, frame_s);
    std::optional<drop_plan> plan = plan_drops(turns, offset, slack_s);
    return plan ? std::optional{dropped_pictures{offset, std::move(plan->drops)}} : std::nullopt;
}

dropped_pictures follow_turns(const std::vector<turn>& turns,
                              std::optional<double> known_offset_s) {
    dropped_pictures found{.offset_s = known_offset_s.value_or(0.0), .before_turn = {}};
    double drops = 0;
    for (const turn& at : turns) {
        const double earliest = (at.earliest_s - found.offset_s) / PICTURE_S - at.slots;
        const double latest = (at.latest_s - found.offset_s) / PICTURE_S - at.slots;
        drops = std::min(std::max(drops, earliest), latest);
        found.before_turn.push_back(drops);
    }
    return found;
}

// Finds the pictures that were dropped before encoding, from the muxer's turns.
#pragma once

#include "recover/turns.h"

struct dropped_pictures {
    double offset_s; // how much later than the first sound the first picture is
    // Number of pictures dropped before each turn, except those counted in its slots.
    std::vector<double> before_turn;
};

// Returns the fewest drops that explain every turn, if stamps may be wrong by the slack; none if no
// number does. Prefers `known_offset_s`.
[[nodiscard]] std::optional<dropped_pictures> fewest_drops(const std::vector<turn>& turns,
                                                           double slack_s,
                                                           std::optional<double> known_offset_s,
                                                           double frame_s);

// Applies the limits of each turn in sequence, forwards and backwards: for recordings mixed by
// other rules.
[[nodiscard]] dropped_pictures follow_turns(const std::vector<turn>& turns,
                                            std::optional<double> known_offset_s);

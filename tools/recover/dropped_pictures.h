// Pictures that were dropped before they were encoded, as far as the muxer's turns tell.
#pragma once

#include "recover/turns.h"

struct dropped_pictures {
    double offset_s; // by how much the first picture is later than the first sound
    // How many were dropped before each turn, those left out that its slots count.
    std::vector<double> before_turn;
};

// The fewest drops for which every turn is as the muxer took it, with stamps that may be off by the
// slack. None when no number explains all turns. `known_offset_s` is preferred.
[[nodiscard]] std::optional<dropped_pictures> fewest_drops(const std::vector<turn>& turns,
                                                           double slack_s,
                                                           std::optional<double> known_offset_s,
                                                           double frame_s);

// What each turn says, one after the other, back and forth: for recordings that were mixed by other
// rules.
[[nodiscard]] dropped_pictures follow_turns(const std::vector<turn>& turns,
                                            std::optional<double> known_offset_s);

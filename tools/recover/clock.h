// Reconstructs the time of each sample from the order in which the muxer wrote them.
//
// Sound is continuous. Pictures come thirty a second, but some are dropped before encoding. Each of
// the muxer's turns limits the time of a picture; all turns together give it to about a
// millisecond.
#pragma once

#include "recover/interleaving.h"

struct run_times {
    // Time of the run's first sample; 0 is the first sound, or without sound the first picture.
    double start_s;
    double step_s; // time between samples
};

// Returns the times of each run. `known_offset_s` is how much later than the first sound the first
// picture is, if the previous file of the same recording tells.
[[nodiscard]] std::vector<run_times> tell_times(const scanned& found,
                                                std::optional<double> known_offset_s);

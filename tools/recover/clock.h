// When each sample of a recording was: told from the order that its muxer wrote them in.
//
// Sound goes on evenly, and pictures come thirty a second, but some are dropped before they are
// encoded. Each turn that the muxer took bounds the pictures' time, and all turns together tell it
// to a millisecond or so.
#pragma once

#include "recover/interleaving.h"

struct run_times {
    double start_s; // of the run's first sample; at 0 the sound begins, or without it the pictures
    double step_s;  // from one sample to the next
};

// The times of each run. `known_offset_s` is by how much the first picture is later than the first
// sound, where the recording's file before this one says so.
[[nodiscard]] std::vector<run_times> tell_times(const scanned& found,
                                                std::optional<double> known_offset_s);

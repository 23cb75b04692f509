// The tracks of a recovered recording, as in an index.
#pragma once

#include "recover/clock.h"

struct track_table {
    struct chunk {
        std::uint64_t offset; // in the file
        std::uint32_t first;  // number of its first sample
    };
    struct duration {
        std::uint32_t samples; // number of samples
        std::uint32_t ticks;
    };

    std::uint32_t timescale = 0; // ticks a second
    double start_s = 0;          // of the first sample; the earlier track begins at 0
    std::vector<std::uint32_t> sizes;
    std::vector<chunk> chunks;
    std::vector<duration> durations;
    std::vector<std::uint32_t> keys; // numbers of the key frames

    [[nodiscard]] double length_s() const;
};

struct movie {
    track_table pictures; // a track without samples is not in the recording
    track_table sound;

    // Time from the beginning of the earlier track to the end of the later one.
    [[nodiscard]] double length_s() const;
};

// Omits pictures that can't be decoded: those after damage, up to the next key frame.
[[nodiscard]] movie make_movie(const scanned& found, const std::vector<run_times>& times);

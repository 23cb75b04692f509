// The tracks of a recovered recording, as an index lists them.
#pragma once

#include "recover/clock.h"

struct track_table {
    struct chunk {
        std::uint64_t offset; // in the file
        std::uint32_t first;  // number of its first sample
    };
    struct duration {
        std::uint32_t samples; // in a row
        std::uint32_t ticks;
    };

    std::uint32_t timescale = 0; // ticks a second
    double start_s = 0;          // of the first sample; the movie begins with the earlier track
    std::vector<std::uint32_t> sizes;
    std::vector<chunk> chunks;
    std::vector<duration> durations;
    std::vector<std::uint32_t> keys; // numbers of the samples that can be decoded by themselves

    [[nodiscard]] double length_s() const;
};

struct movie {
    track_table pictures; // either has no sample when the recording has none of its kind
    track_table sound;

    // From the beginning of the earlier track to the end of the later one.
    [[nodiscard]] double length_s() const;
};

// Leaves out pictures that can't be decoded: those behind damage, up to the next key frame.
[[nodiscard]] movie make_movie(const scanned& found, const std::vector<run_times>& times);

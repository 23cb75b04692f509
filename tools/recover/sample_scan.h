// Finds all samples of a recording without its index.
#pragma once

#include "recover/samples.h"

// Consecutive samples of one kind.
struct sample_run {
    sample_kind kind;
    std::uint64_t offset = 0; // of its first byte
    std::uint32_t first = 0;  // its first sample's number within its kind
    std::uint32_t count = 0;
    std::uint64_t damage_before = 0; // bytes before it without complete samples
    // Pictures only: frame numbers show no missing picture before it.
    bool goes_on = true;
    // Estimated losses before it; see lost_samples.h.
    std::uint32_t lost_pictures = 0;
    std::uint32_t lost_sounds = 0;
};

struct scanned {
    std::vector<sample_run> runs{};
    std::vector<std::uint32_t> picture_sizes{}; // in bytes
    std::vector<std::uint32_t> sound_sizes{};
    std::vector<std::uint32_t> key_pictures{}; // their numbers
    std::optional<mp3_frame> sound{};          // first frame
    std::uint64_t start = 0;
    std::uint64_t end = 0;     // end of the last sample, or `start`
    std::uint64_t unknown = 0; // bytes before `end` without samples, except zeros
};

// Called with the number of scanned bytes.
using progress_reporter = std::function<void(std::uint64_t)>;

// Scans the file from that offset on. Pictures must refer to `sets` if these are complete. Adds
// parameter sets found with pictures.
[[nodiscard]] scanned scan_samples(byte_window& file, std::uint64_t start, parameter_sets& sets,
                                   const progress_reporter& report);

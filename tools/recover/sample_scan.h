// All samples of a recording, found without its index.
#pragma once

#include "recover/samples.h"

// Samples of one kind that stand behind one another.
struct sample_run {
    sample_kind kind;
    std::uint64_t offset = 0; // of its first byte
    std::uint32_t first = 0;  // number of its first sample among those of its kind
    std::uint32_t count = 0;
    std::uint64_t damage_before = 0; // bytes just before it that hold no whole sample
    // Of pictures: none is missing before it, as far as the numbers of frames tell.
    bool goes_on = true;
    // Samples that were in these bytes, as lost_samples.h reckons.
    std::uint32_t lost_pictures = 0;
    std::uint32_t lost_sounds = 0;
};

struct scanned {
    std::vector<sample_run> runs{};
    std::vector<std::uint32_t> picture_sizes{}; // bytes
    std::vector<std::uint32_t> sound_sizes{};
    std::vector<std::uint32_t> key_pictures{}; // their numbers
    std::optional<mp3_frame> sound{};          // its first frame
    std::uint64_t start = 0;
    std::uint64_t end = 0;     // of the last sample; `start` when there is none
    std::uint64_t unknown = 0; // bytes before that which hold none, zeros left out
};

// Told how many bytes have been gone through.
using progress_reporter = std::function<void(std::uint64_t)>;

// Scans the file from that offset on. `sets` are what pictures may refer to, all they like when
// incomplete; sets that come with pictures are added.
[[nodiscard]] scanned scan_samples(byte_window& file, std::uint64_t start, parameter_sets& sets,
                                   const progress_reporter& report);

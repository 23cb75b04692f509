// The muxer's turns between pictures and sound; each limits the time of a picture.
//
// When the muxer picked pictures, they were not later than the waiting sound. When it picked the
// sound before, that was earlier than the pictures.
#pragma once

#include "recover/interleaving.h"

#include <limits>

inline constexpr double NEVER = std::numeric_limits<double>::infinity();

// A chunk of pictures picked by the muxer.
struct turn {
    std::size_t run;
    double slots;               // picture durations since the first, undetected drops excluded
    double earliest_s = -NEVER; // limits of its first picture's time; 0 is the first sound
    double latest_s = NEVER;
};

// How to count a run of pictures: a chunk with dropped pictures has fewer than eight but lasts as
// long. If time stamps are times of arrival, chunks of seven or nine are normal.
enum class slot_rule { by_chunk, by_picture };

// Duration of a run of pictures, in picture durations.
[[nodiscard]] double slots_of(const scanned& found, std::size_t run, slot_rule rule);

// Returns all turns with complete pictures. Requires pictures and sound.
[[nodiscard]] std::vector<turn> list_turns(const scanned& found, slot_rule rule);

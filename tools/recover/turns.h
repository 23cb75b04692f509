// The turns of the muxer between pictures and sound, each of which bounds the time of pictures.
//
// When it took pictures, their time was not later than that of the sound which was waiting. When it
// took the sound before them, that was earlier than their time.
#pragma once

#include "recover/interleaving.h"

#include <limits>

inline constexpr double NEVER = std::numeric_limits<double>::infinity();

// A chunk of pictures that the muxer chose.
struct turn {
    std::size_t run;
    double slots;               // durations of a picture since the first one, but for drops unseen
    double earliest_s = -NEVER; // bounds of its first picture; at 0 the sound begins
    double latest_s = NEVER;
};

// How a run of pictures counts: a chunk has fewer than eight where some were dropped, but lasts as
// long. Where stamps are times of arrival, chunks of seven and nine are nothing special.
enum class slot_rule { by_chunk, by_picture };

// The time that a run of pictures takes, in durations of a picture.
[[nodiscard]] double slots_of(const scanned& found, std::size_t run, slot_rule rule);

// All turns whose pictures are all there. There are both pictures and sound.
[[nodiscard]] std::vector<turn> list_turns(const scanned& found, slot_rule rule);

// Stops the daemon while it records and its storage stalls.
#pragma once

#include <cstdint>

// Starts the daemon repeatedly, lets it record, and stops it at a random moment by a signal to it
// or its process group, while the card stalls for up to three seconds. Each recording must play,
// and the daemon must end with status 0; recordings stopped before their first picture don't count.
// Everything depends only on the seed.
void expect_stops_to_lose_nothing(std::uint64_t seed, int count);

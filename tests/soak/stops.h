// Stops of the daemon while it records and its storage stalls.
#pragma once

#include <cstdint>

// Starts the daemon so often, lets it record, and stops it at a random moment by a signal to it or
// to its process group, while the card stalls for up to three seconds. Each recording must play,
// and the daemon end with status 0; those that were stopped before their first picture don't count.
// All follows from the seed.
void expect_stops_to_lose_nothing(std::uint64_t seed, int count);

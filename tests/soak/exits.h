// The ends of the daemon that are by design: an ERROR line and status 1.
#pragma once

#include <cstdint>

// In the midst of random use, each of them or one that is drawn.
void expect_ends_by_design(std::uint64_t seed, bool all);

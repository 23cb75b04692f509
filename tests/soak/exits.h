// Intended ends of the daemon: an ERROR line and status 1.
#pragma once

#include <cstdint>

// During random use, tries each of them or a random one.
void expect_ends_by_design(std::uint64_t seed, bool all);

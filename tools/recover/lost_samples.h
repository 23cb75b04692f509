// Estimates how many samples were lost in a damaged place.
#pragma once

#include "recover/sample_scan.h"

// Sets how many samples are missing before each run; runs must be split into chunks. The order of
// pictures and sound limits the possible numbers; the lost bytes, the key frames' distance and the
// offset between pictures and sound select one.
void count_lost_samples(scanned& found, std::optional<double> known_offset_s);

// How many samples were lost where a recording is damaged.
#pragma once

#include "recover/sample_scan.h"

// Fills in how many samples each run lacks before it; runs are cut into chunks already. With
// pictures and sound, these tell which numbers are possible; their bytes, the rhythm of key frames,
// and how far pictures and sound are apart elsewhere, which of these it was.
void count_lost_samples(scanned& found, std::optional<double> known_offset_s);

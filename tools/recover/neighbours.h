// Takes missing information from other recordings in the folder.
#pragma once

#include "recover/sample_scan.h"

#include <string>

// Returns how much later than its sound this file's pictures begin, calculated from the previous
// file if that is complete and of the same recording: both streams continue without a gap.
[[nodiscard]] std::optional<double> offset_from_file_before(int folder, const std::string& name);

// Returns parameter sets that fit the pictures of `found` in `file`, from the nearest complete
// recording by name, earlier ones first. Incomplete if no recording's sets fit.
[[nodiscard]] parameter_sets sets_of_neighbour(int folder, const std::string& name,
                                               byte_window& file, const scanned& found);

// Returns the recordings in a folder, sorted by name.
[[nodiscard]] std::vector<std::string> recordings_in(int folder);

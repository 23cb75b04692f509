// What other recordings in a folder tell about one that lacks it.
#pragma once

#include "recover/sample_scan.h"

#include <string>

// By how much this file's pictures begin later than its sound: told by the file before it, if that
// belongs to the same recording and is complete, since both go on without a gap.
[[nodiscard]] std::optional<double> offset_from_file_before(int folder, const std::string& name);

// Parameter sets that fit the pictures of `found` in `file`: those of the nearest complete
// recording by name, the ones before it first. Incomplete when no recording's do.
[[nodiscard]] parameter_sets sets_of_neighbour(int folder, const std::string& name,
                                               byte_window& file, const scanned& found);

// The recordings of a folder, by name.
[[nodiscard]] std::vector<std::string> recordings_in(int folder);

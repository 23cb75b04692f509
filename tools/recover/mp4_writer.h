// Writes the header and the index of an MP4 file.
#pragma once

#include "recover/movie.h"
#include "recover/outline.h"

#include <array>

using file_header = std::array<std::uint8_t, DATA_START>;

// Returns what precedes the media data: the file type, and the start of the media data box for that
// many bytes.
[[nodiscard]] file_header make_header(std::uint64_t data_bytes);

// Returns the index, to be written after the media data. If there are pictures, `sets` must be
// complete. If there is sound, `sound` must be one of its frames: all have the same format.
[[nodiscard]] std::vector<std::uint8_t> make_index(const movie& movie, const parameter_sets& sets,
                                                   const std::optional<mp3_frame>& sound);

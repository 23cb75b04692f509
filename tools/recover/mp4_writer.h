// Writes the header and the index of an MP4 file.
#pragma once

#include "recover/movie.h"
#include "recover/outline.h"

#include <array>

using file_header = std::array<std::uint8_t, DATA_START>;

// Returns the header of a file with that many bytes of media data.
[[nodiscard]] file_header make_header(std::uint64_t data_bytes);

// Returns the index, which follows the media data. `sets` must be complete if there are pictures;
// `sound` is any sound frame, if there is sound.
[[nodiscard]] std::vector<std::uint8_t> make_index(const movie& movie, const parameter_sets& sets,
                                                   const std::optional<mp3_frame>& sound);

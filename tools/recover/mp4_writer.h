// What stands around the media data of an MP4 file: its beginning, and its index.
#pragma once

#include "recover/movie.h"
#include "recover/outline.h"

#include <array>

using file_header = std::array<std::uint8_t, DATA_START>;

// The beginning of a file with so many bytes of media data.
[[nodiscard]] file_header make_header(std::uint64_t data_bytes);

// The index, which goes behind the media data. `sets` must be complete when there are pictures, and
// `sound` is a frame of the sound, if there is any.
[[nodiscard]] std::vector<std::uint8_t> make_index(const movie& movie, const parameter_sets& sets,
                                                   const std::optional<mp3_frame>& sound);

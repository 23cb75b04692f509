// How the muxer mixes pictures and sound, which tells what is missing and when each picture was.
//
// It stays with pictures, or with sound, until what it wrote of them lasts longer than a quarter of
// a second: a chunk of eight pictures, or of eleven MP3 frames at 48 kHz. Then it takes whichever
// is due earlier, pictures if both are: mostly they take turns.
#pragma once

#include "recover/sample_scan.h"

inline constexpr double PICTURE_S = 1.0 / 30;
inline constexpr double CHUNK_S = 0.25;
inline constexpr unsigned PICTURE_CHUNK = 8;

[[nodiscard]] double sound_frame_s(const mp3_frame& frame);

// Frames of a chunk of sound.
[[nodiscard]] unsigned sound_chunk(const mp3_frame& frame);

[[nodiscard]] bool has_both_kinds(const scanned& found);

// Cuts runs of several chunks of pictures into chunks, since each was a choice of the muxer.
void cut_into_chunks(scanned& found);

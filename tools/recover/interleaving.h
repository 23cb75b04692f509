// How the muxer interleaves pictures and sound: tells what is missing and when each picture was.
//
// It writes one of the two until that lasts longer than a quarter of a second: a chunk of eight
// pictures, or of eleven MP3 frames at 48 kHz. Then it picks whichever is due earlier, pictures if
// both are, so they mostly alternate.
#pragma once

#include "recover/sample_scan.h"

inline constexpr double PICTURE_S = 1.0 / 30;
inline constexpr double CHUNK_S = 0.25;
inline constexpr unsigned PICTURE_CHUNK = 8;

[[nodiscard]] double sound_frame_s(const mp3_frame& frame);

// Number of frames in a chunk of sound.
[[nodiscard]] unsigned sound_chunk(const mp3_frame& frame);

[[nodiscard]] bool has_both_kinds(const scanned& found);

// Splits runs of several picture chunks: the muxer made a choice for each chunk.
void cut_into_chunks(scanned& found);

// Actions between the client commands and the media: recording, streams, snapshot, encoding, sound,
// graphs.
#pragma once

#include <cstdint>

// Free bytes that a recording needs to start and to go on: 112.5 MiB.
inline constexpr std::uint64_t RECORD_BYTES = 117'964'800;

// Each starts (1) or stops (0) an output and registers the pipes that were started. Stopping one
// that doesn't run, and starting one that does, changes nothing. 0; 1 when it can't start: for a
// recording also without space; the result of a registration or a stop that failed.
[[nodiscard]] int ac_start_stop_record(int on);
[[nodiscard]] int ac_start_stop_stream(int on);
[[nodiscard]] int ac_start_stop_http_stream(int on);

// Takes a snapshot into the media folder. 0; 1 when there is no space, no display or no name.
[[nodiscard]] int ac_make_snapshot();

// Takes and keeps the encoding type, 0..2. 0; 1 when out of range, or while recording or streaming
// over TCP.
[[nodiscard]] int ac_set_enc_type(int type);

// Takes and keeps the microphone's volume, 0..100. 0; 1 when out of range.
[[nodiscard]] int ac_set_microphone_volume(int volume);

// Writes a graph of every pipe for Graphviz. 0; 1 without a time stamp, -1 without a path.
[[nodiscard]] int ac_generate_dot_file();

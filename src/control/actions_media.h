// Media actions for client commands: recording, streams, snapshot, encoding type, microphone
// volume, graphs.
#pragma once

#include <cstdint>

// Free bytes needed to start and to continue a recording: 112.5 MiB.
inline constexpr std::uint64_t RECORD_BYTES = 117'964'800;

// Each starts (1) or stops (0) an output and registers the buses of started pipes. Stopping a
// stopped output or starting a running one has no effect. Returns 0; 1 when it can't start (a
// recording: also without free space); otherwise the result of the registration or stop that
// failed.
[[nodiscard]] int ac_start_stop_record(int on);
[[nodiscard]] int ac_start_stop_stream(int on);
[[nodiscard]] int ac_start_stop_http_stream(int on);

// Takes a snapshot into the media folder. Returns 0; 1 without free space, display or free file
// name.
[[nodiscard]] int ac_make_snapshot();

// Sets and saves the encoding type, 0..2. Returns 0; 1 when out of range, or while recording or
// streaming over TCP.
[[nodiscard]] int ac_set_enc_type(int type);

// Sets and saves the microphone volume, 0..100. Returns 0; 1 when out of range.
[[nodiscard]] int ac_set_microphone_volume(int volume);

// Writes a Graphviz graph of every pipe. Returns 0; 1 without a time stamp, -1 without a path.
[[nodiscard]] int ac_generate_dot_file();

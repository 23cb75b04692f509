// Actions between the client commands and the media: snapshot, encoding, sound, graphs, hand-over.
#pragma once

// Takes a snapshot into the media folder. 0; 1 when there is no space, no display or no name.
[[nodiscard]] int ac_make_snapshot();

// Takes and keeps the encoding type, 0..2. 0; 1 when out of range, or while recording or streaming
// over TCP.
[[nodiscard]] int ac_set_enc_type(int type);

// Takes and keeps the microphone's volume, 0..100. 0; 1 when out of range.
[[nodiscard]] int ac_set_microphone_volume(int volume);

// Writes a graph of every pipe for Graphviz. 0; 1 without a time stamp, -1 without a path.
[[nodiscard]] int ac_generate_dot_file();

// Hands the sight over to an outside controller for the rest of the run: actions only record
// settings from then on, and the broker is connected. 0 always.
[[nodiscard]] int ac_disable_kbd();

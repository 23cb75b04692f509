// Outputs that mux what they get from the branches: a pipe around a muxer, and an input for each
// stream that the encoding type asks for.
#pragma once

#include "video/pipe_builder.h"

struct muxer_input {
    int left_out_for;         // encoding type that goes without it
    pipe_table chain;         // its elements; the last one's pad "src" is linked to the muxer
    const char* pad_template; // of the muxer's request pad; null: the first there is
    const char* pad_name;     // the name it is requested under
    const char* pad_failed;   // ERROR text
};

struct muxed_output {
    pipe_table pipe;
    const char* muxer; // name of the element with the request pads
    std::span<const muxer_input> inputs;
};

// Fills the empty pipeline, sets it playing and gives it a moment to get going. 0; -1 after an
// ERROR line, which ends the process.
[[nodiscard]] int build_muxed_output(GstElement* pipeline, const muxed_output& output, int enc_type,
                                     pipe_argument target);

// The pipes, a row each: all that distinguishes one pipe from another is in its row.
#pragma once

#include "core/failures.h"
#include "video/pipe_table.h"
#include "video/registry.h"

// A stream that a muxer takes from a branch.
struct muxer_input {
    medium carries = medium::none; // it exists for encoding types that include this
    // The encoder is asked for a key frame, and what comes before that is dropped.
    bool begins_at_key_frame = false;
    element_chain chain;                // the pad "src" of its last element is linked to the muxer
    const char* pad_template = nullptr; // of the muxer's request pad; null: the first there is
    const char* pad_name = nullptr;     // the name it is requested under
    const char* pad_failed = nullptr;   // ERROR text
};

// A property of an element in another pipe, set before the pipe's own elements are linked. Nothing
// is set while that pipe is not there.
struct remote_property {
    element_handle handle = element_handle::none;
    const char* property = nullptr;
    caps_text caps{};
};

struct pipe_row {
    pipe_enum number = PIPE_COUNT;
    const char* short_name = nullptr; // in the names of graph files
    const char* pipeline_name = nullptr;
    const char* purpose = nullptr; // what it carries, for documents and drawings
    element_chain chain;

    // INFO text when building begins; null: none.
    const char* creating = nullptr;
    // INFO text before ", rc = %d" when set playing; null: the change of state is logged instead.
    const char* playing = nullptr;
    // Shell command that runs before the pipe is built for the first time; its result is ignored.
    const char* first_command = nullptr;
    std::span<const remote_property> remote_properties = {};

    // Media branch: what it encodes, or prepares for the encoders.
    medium carries = medium::none;
    // Media output: the branches that it listens to, in the order they are created. It has those
    // that carry what the encoding type includes; if that is none, there is no such output.
    std::span<const pipe_enum> branches = {};
    // Media output that muxes: the element with the request pads, and what is linked to them.
    const char* muxer = nullptr;
    std::span<const muxer_input> inputs = {};
    // It writes files after start_arguments::location_pattern, which are flushed at its end.
    bool records = false;

    // End-of-stream goes in at this element; null: into the pipeline as a whole.
    const char* end_element = nullptr;
    // Each error, warning or info of this element restarts the pipe; null: none does.
    const char* restarted_by = nullptr;
    // Under which failure clients find an error of its elements, or a restart; count: under none.
    failure_kind failure = failure_kind::count;
    // Clients may create it by its number, with the default arguments.
    bool clients_may_create = false;
};

// All rows: live view, branches, outputs. Branches are ended in this order.
[[nodiscard]] std::span<const pipe_row> pipe_rows();

// The row of a pipe number, which must be one.
[[nodiscard]] const pipe_row& pipe_row_of(int pipe);

[[nodiscard]] constexpr bool is_branch(const pipe_row& row) {
    return row.carries != medium::none;
}

[[nodiscard]] constexpr bool is_output(const pipe_row& row) {
    return !row.branches.empty();
}

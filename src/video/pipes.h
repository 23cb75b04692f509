// The pipes, one row each. A pipe's row has everything specific to it.
#pragma once

#include "core/failures.h"
#include "video/pipe_table.h"
#include "video/registry.h"

// A stream from a branch into a muxer.
struct muxer_input {
    medium carries = medium::none; // it exists only for encoding types that include this
    // Requests a key frame from the encoder and drops everything before it.
    bool begins_at_key_frame = false;
    element_chain chain;                // the pad "src" of its last element is linked to the muxer
    const char* pad_template = nullptr; // of the muxer's request pad; null: the first one
    const char* pad_name = nullptr;     // requested name
    const char* pad_failed = nullptr;   // ERROR text
};

// A property of an element in another pipe, set before the pipe's own elements are linked. Skipped
// while the other pipe doesn't exist.
struct remote_property {
    element_handle handle = element_handle::none;
    const char* property = nullptr;
    caps_text caps{};
};

struct pipe_row {
    pipe_enum number = PIPE_COUNT;
    const char* short_name = nullptr; // in the names of graph files
    const char* pipeline_name = nullptr;
    const char* purpose = nullptr; // content, for documents and drawings
    element_chain chain;

    // INFO text when building begins, or null.
    const char* creating = nullptr;
    // INFO text before ", rc = %d" when set playing; if null, the state change is logged instead.
    const char* playing = nullptr;
    // Shell command that runs before the pipe is built for the first time. Its result is ignored.
    const char* first_command = nullptr;
    std::span<const remote_property> remote_properties = {};

    // Media branch: what it encodes or prepares for encoding.
    medium carries = medium::none;
    // Media output: the branches it listens to, in creation order. Only those included in the
    // encoding type are used; without any, the output can't start.
    std::span<const pipe_enum> branches = {};
    // Media output with a muxer: the element with the request pads, and its inputs.
    const char* muxer = nullptr;
    std::span<const muxer_input> inputs = {};
    // It writes files named by start_arguments::location_pattern, which are synced at its end.
    bool records = false;

    // Element at which end-of-stream enters; null: the whole pipeline.
    const char* end_element = nullptr;
    // Each error, warning or info of this element restarts the pipe. May be null.
    const char* restarted_by = nullptr;
    // Failure kind of its errors and restarts in the status file; count: none.
    failure_kind failure = failure_kind::count;
    // Clients may create it by number, with default arguments.
    bool clients_may_create = false;
};

// All rows: live view, branches, outputs. Branches are ended in this order.
[[nodiscard]] std::span<const pipe_row> pipe_rows();

// The row of a valid pipe number.
[[nodiscard]] const pipe_row& pipe_row_of(int pipe);

[[nodiscard]] constexpr bool is_branch(const pipe_row& row) {
    return row.carries != medium::none;
}

[[nodiscard]] constexpr bool is_output(const pipe_row& row) {
    return !row.branches.empty();
}

// The registry of pipes, as the modules that build pipes see it.
//
// Each slot owns one reference to its pipeline and one to its bus, both released when the pipe is
// destroyed. A slot is "created" exactly while it holds a pipeline.
#pragma once

#include "video/gst_owned.h"
#include "video/registry.h"

// 1 when the slot holds a pipeline, else 0.
[[nodiscard]] int is_created(int pipe);

// The slot's pipeline, borrowed from the registry; null when the slot is empty.
[[nodiscard]] GstElement* pipe_pipeline(int pipe);

// Makes an empty pipeline in the slot, unless it holds one. The bus descriptor, or -1 when it
// could not be made or all pipes were asked to stop already. All pipelines count time from the same
// moment, so that a time stamp means the same in each.
[[nodiscard]] int create_pipeline(int pipe);

// Descriptor that is readable while the bus holds messages; the bus owns it.
[[nodiscard]] int get_bus_filefd(GstBus* bus);

// Starts a pipe: one that exists is returned as it is, else `build` fills the new pipeline and
// sets it playing, returning 0. A build that fails leaves the slot created.
template <class Build> [[nodiscard]] bus_handle start_pipe(int pipe, Build build) {
    const bool existed = is_created(pipe) != 0;
    const int fd = create_pipeline(pipe);
    if (fd < 0 || existed) {
        return {fd, pipe};
    }
    return {build(pipe_pipeline(pipe)) == 0 ? fd : -1, pipe};
}

// Changes an element's state and logs it at DEBUG. 0 when changed or already there; -1 when a
// change is still in progress after a second, or the last one failed.
int gstvideo_set_state(GstElement* element, GstState state);

// The element's current state, waiting at most a second for a change in progress; the result says
// ASYNC when it is still in progress then.
GstStateChangeReturn query_state(GstElement* element, GstState& state);

// True for a pipe that was asked to end and has not ended yet.
[[nodiscard]] bool is_ending(int pipe);

// Has `about_to_end` called with the number of each pipe that is going to end, before it is asked
// to, or when it ends of its own accord. It may ask other pipes to end. Not called any more once
// every pipe was asked to stop. One observer at a time.
void observe_ends(void (*about_to_end)(int pipe));

// Sends end-of-stream to a created pipe, once.
void send_eos(int pipe);

// Handles one bus message. 1 when the pipe has ended, else 0.
[[nodiscard]] int message_handle(GstMessage* message, int pipe);

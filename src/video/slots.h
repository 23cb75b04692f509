// The registry of pipes, as the modules that build and end pipes see it.
//
// Each slot owns one reference to its pipeline and one to its bus, both released when the pipe is
// destroyed. A slot is "created" exactly while it holds a pipeline.
#pragma once

#include "util/gst_owned.h"
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

// Changes an element's state and logs it at DEBUG. 0 when changed or already there; -1 when a
// change is still in progress after a second, or the last one failed.
int gstvideo_set_state(GstElement* element, GstState state);

// The element's current state, waiting at most a second for a change in progress; the result says
// ASYNC when it is still in progress then.
GstStateChangeReturn query_state(GstElement* element, GstState& state);

// Sends end-of-stream to a created pipe, once. The last output takes the branches along.
void send_eos(int pipe);

// Releases the pipe after its end-of-stream message, by force if that message was our own.
void destroy_pipe(int pipe, bool is_forced);

// Takes notice of an error of the pipe: a recording with one can't be completed any more.
void note_error(int pipe);

// Takes notice that the output delivers what it is for.
void note_delivery(int pipe);

// Stops the pipe's elements and sets them playing again. If it was asked to end, it is asked again.
void restart_pipe(int pipe);

// Handles one bus message. 1 when the pipe has ended, else 0.
[[nodiscard]] int message_handle(GstMessage* message, int pipe);

// Internal interface of the pipe registry, for the modules that build and end pipes.
//
// Each slot owns one reference to its pipeline and one to its bus; both are released when the pipe
// is destroyed. A slot is "created" while it has a pipeline.
#pragma once

#include "util/gst_owned.h"
#include "video/registry.h"

// Returns 1 when the slot has a pipeline, else 0.
[[nodiscard]] int is_created(int pipe);

// Returns the slot's pipeline, borrowed, or null.
[[nodiscard]] GstElement* pipe_pipeline(int pipe);

// Creates an empty pipeline in the slot unless it has one. Returns the bus descriptor; -1 on
// failure or once all pipes were asked to stop. All pipelines have the same base time, so time
// stamps are comparable between them.
[[nodiscard]] int create_pipeline(int pipe);

// Returns a descriptor that is readable while the bus has messages; the bus owns it.
[[nodiscard]] int get_bus_filefd(GstBus* bus);

// Sets an element's state and logs it at DEBUG. Returns 0 when changed or already there; -1 when
// the change takes longer than a second, or the last one failed.
int gstvideo_set_state(GstElement* element, GstState state);

// Queries the element's state, waiting at most a second for a change in progress. Returns ASYNC if
// it is still in progress then.
GstStateChangeReturn query_state(GstElement* element, GstState& state);

// Sends end-of-stream to a created pipe, once. Ending the last output also ends the branches.
void send_eos(int pipe);

// Releases the pipe after its end-of-stream message; `is_forced` if that message was our own.
void destroy_pipe(int pipe, bool is_forced);

// Records an error of the pipe: a recording with an error can't be completed any more.
void note_error(int pipe);

// Records that the output delivers.
void note_delivery(int pipe);

// Stops the pipe's elements and sets them playing again. A pipe that was ending is asked again to
// end.
void restart_pipe(int pipe);

// Handles one bus message. Returns 1 when the pipe has ended, else 0.
[[nodiscard]] int message_handle(GstMessage* message, int pipe);

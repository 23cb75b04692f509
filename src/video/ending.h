// How a pipe ends: it is asked by end-of-stream; if that doesn't come through in time, a message of
// our own takes its place on the bus; then it is shut down on a thread of its own. None of this
// waits for what an element is stuck in, be it a driver, a server or storage.
#pragma once

#include "video/gst_owned.h"

// The clock that all pipes and these timers go by.
[[nodiscard]] gst_owned<GstClock> system_clock();

// Puts end-of-stream into the pipeline, at the element of that name or, if it is null, at the
// sources, and resumes the pipeline if it is paused: it would keep the event forever.
void end_of_stream_send(GstElement* pipeline, const char* end_element);

// The system clock's time after that wait.
[[nodiscard]] GstClockTime clock_time_in(GstClockTime wait);

// Posts end-of-stream on the bus when the time has come, at once when it has passed already; never
// for GST_CLOCK_TIME_NONE. Takes the place of a time that was set before.
void forced_end_arm(int pipe, GstBus* bus, GstClockTime due);

// True for the message that is posted then.
[[nodiscard]] bool forced_end_is(GstMessage* message);

// Calls it off. The time it was due; GST_CLOCK_TIME_NONE when it was not armed.
GstClockTime forced_end_disarm(int pipe);

// True while a time is set, be it past or not.
[[nodiscard]] bool forced_end_is_armed(int pipe);

// True once the time of an armed one has come, and until it is disarmed.
[[nodiscard]] bool forced_end_is_overdue(int pipe);

// Brings the pipeline to NULL on a thread of its own and waits half a second for it; one that ends
// by force is flushed first. False when it takes longer: the thread then keeps the pipeline until
// it is done, if ever, but the pipeline's inter-pipe names are free.
[[nodiscard]] bool shut_down(GstElement* pipeline, bool is_forced);

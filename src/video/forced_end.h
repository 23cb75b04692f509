// Ending by force: a pipe that has not ended some seconds after it was asked gets a message of our
// own on its bus, so that whoever is asked to end does end.
#pragma once

#include "video/gst_owned.h"

// The clock that all pipes and these timers go by.
[[nodiscard]] gst_owned<GstClock> system_clock();

// Five seconds from now, in the system clock's time.
[[nodiscard]] GstClockTime forced_end_due_from_now();

// Posts end-of-stream on the bus when the time has come, at once when it has passed already.
void forced_end_arm(int pipe, GstBus* bus, GstClockTime due);

// True for the message that is posted then.
[[nodiscard]] bool forced_end_is(GstMessage* message);

// Brings the pipeline to NULL on a thread of its own and waits half a second for it. False when it
// takes longer; the thread keeps the pipeline until it is done, if ever.
[[nodiscard]] bool forced_end_shut_down(GstElement* pipeline);

// Calls it off. The time it was due; GST_CLOCK_TIME_NONE when it was not armed.
GstClockTime forced_end_disarm(int pipe);

// True once the time of an armed one has come, and until it is disarmed.
[[nodiscard]] bool forced_end_is_overdue(int pipe);

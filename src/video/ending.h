// How a pipe ends: it is asked by end-of-stream; if that doesn't come through in time, a message of
// our own takes its place on the bus; then it is shut down on a thread of its own. None of this
// waits for what an element is stuck in, be it a driver, a server or storage.
#pragma once

#include "util/gst_owned.h"

#include <memory>

// The clock that all pipes and these timers go by.
[[nodiscard]] gst_owned<GstClock> system_clock();

// Puts end-of-stream into the pipeline, at the element of that name or, if it is null, at the
// sources, and resumes the pipeline if it is paused: it would keep the event forever.
void end_of_stream_send(GstElement* pipeline, const char* end_element);

// Asks inter-pipe sources again, to be called while the pipeline doesn't end: from GStreamer 1.24
// on they may refuse until some time after a pause. No harm to those that didn't.
void end_of_stream_repeat(GstElement* pipeline, const char* end_element);

// The system clock's time after that wait.
[[nodiscard]] GstClockTime clock_time_in(GstClockTime wait);

// A time at which the end of a pipe is forced: end-of-stream is posted on its bus then. It is
// called off when the timer goes.
class end_timer {
public:
    // For a time that has passed the message is posted at once, for GST_CLOCK_TIME_NONE never.
    // Takes the place of a time that was set before.
    void arm(GstBus* bus, GstClockTime due);

    // Calls it off. The time it was due; GST_CLOCK_TIME_NONE when it was not armed.
    GstClockTime disarm();

    // True while a time is set, be it past or not.
    [[nodiscard]] bool is_armed() const { return id_ != nullptr; }

private:
    struct clock_id_release {
        void operator()(GstClockID id) const noexcept;
    };

    std::unique_ptr<void, clock_id_release> id_; // on GStreamer's own clock thread
    GstClockTime due_ = GST_CLOCK_TIME_NONE;
};

// True for the message that is posted then.
[[nodiscard]] bool is_forced_end(GstMessage* message);

// Brings the pipeline to NULL on a thread of its own and waits half a second for it; one that ends
// by force is flushed first. False when it takes longer: the thread then keeps the pipeline until
// it is done, if ever, but the pipeline's inter-pipe names are free.
[[nodiscard]] bool shut_down(GstElement* pipeline, bool is_forced);

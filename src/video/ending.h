// Ends a pipe: sends end-of-stream; if that doesn't arrive in time, posts a message of our own on
// the bus instead; then shuts the pipe down on a separate thread. None of this waits for an element
// that is stuck in a driver, a server or storage.
#pragma once

#include "util/gst_owned.h"

#include <memory>

// The clock of all pipes and of these timers.
[[nodiscard]] gst_owned<GstClock> system_clock();

// Sends end-of-stream into the pipeline: at the element of that name or, if null, at the sources.
// Resumes a paused pipeline, which would keep the event forever.
void end_of_stream_send(GstElement* pipeline, const char* end_element);

// Asks inter-pipe sources again. Call repeatedly until the pipeline ends: since GStreamer 1.24 they
// may refuse for some time after a pause. Harmless to the others.
void end_of_stream_repeat(GstElement* pipeline, const char* end_element);

// Returns the system clock's time after that wait.
[[nodiscard]] GstClockTime clock_time_in(GstClockTime wait);

// Timer that forces the end of a pipe by posting end-of-stream on its bus. Cancelled on
// destruction.
class end_timer {
public:
    // Posts the message at `due`: at once if that has passed, never for GST_CLOCK_TIME_NONE.
    // Replaces an earlier time.
    void arm(GstBus* bus, GstClockTime due);

    // Cancels the timer. Returns the time it was set to, or GST_CLOCK_TIME_NONE.
    GstClockTime disarm();

    // True while a time is set, even if it has passed.
    [[nodiscard]] bool is_armed() const { return id_ != nullptr; }

private:
    struct clock_id_release {
        void operator()(GstClockID id) const noexcept;
    };

    std::unique_ptr<void, clock_id_release> id_; // runs on GStreamer's clock thread
    GstClockTime due_ = GST_CLOCK_TIME_NONE;
};

// True for the message that an end_timer posts.
[[nodiscard]] bool is_forced_end(GstMessage* message);

// Sets the pipeline to NULL on a separate thread and waits half a second for it; flushes it first
// if the end is forced. Returns false if it takes longer: the thread then keeps the pipeline until
// it is done, possibly forever, but the pipeline's inter-pipe names are free.
[[nodiscard]] bool shut_down(GstElement* pipeline, bool is_forced);

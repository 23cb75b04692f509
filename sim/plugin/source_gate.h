// Where a source's streaming thread waits: for data or a moment in time, until the pipe is flushed
// or asked to end.
//
// GstBaseSrc handles an end-of-stream that is sent to the element under its stream lock, while
// gst_element_send_event holds the state lock. With the streaming thread blocked downstream and a
// state change pending that never returns. Sources therefore take such events through here.
#pragma once

#include "util/gst_owned.h"

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace sim {

enum class wake {
    ready,    // what was waited for is there
    timeout,  // the time is up
    flushing, // give back GST_FLOW_FLUSHING
    ended,    // give back GST_FLOW_EOS
};

class source_gate {
public:
    // Forgets an earlier end or flush: the source starts.
    void open() {
        update([this] { ended_ = flushing_ = false; });
    }
    void end() {
        update([this] { ended_ = true; });
    }
    void set_flushing(bool flushing) {
        update([this, flushing] { flushing_ = flushing; });
    }

    // Takes an end-of-stream (and its reference) that was sent to the element. Any other event is
    // left alone: the answer is false.
    [[nodiscard]] bool takes(GstEvent* event) {
        if (GST_EVENT_TYPE(event) != GST_EVENT_EOS) {
            return false;
        }
        const gst_owned<GstEvent> taken{event};
        end();
        return true;
    }

    // Runs `change` under the gate's lock and wakes the waiter.
    template <typename Change> void update(Change&& change) {
        const std::scoped_lock lock(mutex_);
        change();
        changed_.notify_all();
    }

    // Waits until `ready`, called under the lock, is true. What is ready goes before an end, so a
    // queue is drained first.
    template <typename Ready> [[nodiscard]] wake wait(Ready&& ready) {
        std::unique_lock lock(mutex_);
        bool done = false;
        changed_.wait(lock, [&] { return flushing_ || (done = ready()) || ended_; });
        if (flushing_) {
            return wake::flushing;
        }
        return done ? wake::ready : wake::ended;
    }

    // Waits for `delay`; an end or a flush cuts it short. `timeout` is the ordinary answer.
    [[nodiscard]] wake sleep(std::chrono::nanoseconds delay) {
        std::unique_lock lock(mutex_);
        changed_.wait_for(lock, delay, [this] { return flushing_ || ended_; });
        if (flushing_) {
            return wake::flushing;
        }
        return ended_ ? wake::ended : wake::timeout;
    }

    // For use inside `update` only.
    [[nodiscard]] bool is_ended() const { return ended_; }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    bool flushing_ = false;
    bool ended_ = false;
};

// What create() or fill() gives back when the wait ended without data.
inline GstFlowReturn flow_of(wake reason) {
    return reason == wake::flushing ? GST_FLOW_FLUSHING : GST_FLOW_EOS;
}

} // namespace sim

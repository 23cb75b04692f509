// Makes a live source's streaming thread wait: for a time, or until a descriptor is readable or the
// pipe is flushed.
#pragma once

#include <gst/base/gstpushsrc.h>

#include <cerrno>
#include <memory>

namespace sim {

enum class waited {
    elapsed,  // the time has passed
    woken,    // the descriptor is readable
    flushing, // the pipe is flushed: return GST_FLOW_FLUSHING
};

class source_wait {
public:
    // From now on, wait() also ends when this descriptor is readable; a negative one is ignored.
    void watch(int descriptor) {
        gst_poll_fd_init(&watched_);
        watched_.fd = descriptor;
        if (descriptor >= 0) {
            gst_poll_add_fd(poll_.get(), &watched_);
            gst_poll_fd_ctl_read(poll_.get(), &watched_, TRUE);
        }
    }
    // Call before the descriptor is closed.
    void watch_none() { gst_poll_remove_fd(poll_.get(), &watched_); }

    void set_flushing(bool flushing) { gst_poll_set_flushing(poll_.get(), flushing); }

    // GST_CLOCK_TIME_NONE: no limit.
    [[nodiscard]] waited wait(GstClockTime duration) {
        gint ready = -1;
        while ((ready = gst_poll_wait(poll_.get(), duration)) < 0 && errno != EBUSY) {
        }
        if (ready < 0) {
            return waited::flushing;
        }
        return ready > 0 ? waited::woken : waited::elapsed;
    }

private:
    struct poll_release {
        void operator()(GstPoll* poll) const noexcept { gst_poll_free(poll); }
    };

    std::unique_ptr<GstPoll, poll_release> poll_{gst_poll_new(TRUE)};
    GstPollFD watched_ = GST_POLL_FD_INIT;
};

// Makes a flush end the wait. Call in class_init of a GstPushSrc whose instances have a
// `state.wait`.
template <typename Source> void flush_through_wait(gpointer klass) {
    auto* base = GST_BASE_SRC_CLASS(klass);
    base->unlock = [](GstBaseSrc* source) noexcept -> gboolean {
        reinterpret_cast<Source*>(source)->state.wait.set_flushing(true);
        return TRUE;
    };
    base->unlock_stop = [](GstBaseSrc* source) noexcept -> gboolean {
        reinterpret_cast<Source*>(source)->state.wait.set_flushing(false);
        return TRUE;
    };
}

// Makes the source live; the time stamps of its buffers are running times. Call in instance_init.
inline void make_live(gpointer source) {
    gst_base_src_set_live(GST_BASE_SRC(source), TRUE);
    gst_base_src_set_format(GST_BASE_SRC(source), GST_FORMAT_TIME);
}

} // namespace sim

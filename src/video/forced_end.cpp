// Ending by force: a pipe that has not ended some seconds after it was asked gets a message of our
// own on its bus, so that whoever is asked to end does end.
#include "video/forced_end.h"

#include "video/registry.h"

#include <array>
#include <utility>

namespace {

constexpr GstClockTime END_TIMEOUT = 5 * GST_SECOND;

// A timer on GStreamer's own clock thread.
struct end_timer {
    GstClockID id = nullptr;
    GstClockTime due = GST_CLOCK_TIME_NONE;
};

// Owned identifiers, in a plain array since nothing static may be destroyed at exit.
std::array<end_timer, PIPE_COUNT> end_timers{};

end_timer& timer_of(int pipe) {
    return end_timers.at(static_cast<std::size_t>(pipe));
}

// Runs on GStreamer's clock thread and so only speaks through the bus, as streaming threads do.
gboolean post_end(GstClock* /*clock*/, GstClockTime /*time*/, GstClockID /*id*/, gpointer bus) {
    gst_bus_post(static_cast<GstBus*>(bus), gst_message_new_eos(nullptr));
    return TRUE;
}

} // namespace

gst_owned<GstClock> system_clock() {
    return gst_owned<GstClock>{gst_system_clock_obtain()};
}

GstClockTime forced_end_due_from_now() {
    return gst_clock_get_time(system_clock().get()) + END_TIMEOUT;
}

void forced_end_arm(int pipe, GstBus* bus, GstClockTime due) {
    end_timer& timer = timer_of(pipe);
    timer = {gst_clock_new_single_shot_id(system_clock().get(), due), due};
    gst_clock_id_wait_async(timer.id, post_end, gst_object_ref(bus), gst_object_unref);
}

GstClockTime forced_end_disarm(int pipe) {
    const end_timer armed = std::exchange(timer_of(pipe), {});
    if (armed.id != nullptr) {
        gst_clock_id_unschedule(armed.id);
        gst_clock_id_unref(armed.id);
    }
    return armed.due;
}

bool forced_end_is_overdue(int pipe) {
    const end_timer& timer = timer_of(pipe);
    return timer.id != nullptr && gst_clock_get_time(system_clock().get()) > timer.due;
}

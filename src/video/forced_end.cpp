// Ending by force: a pipe that has not ended some seconds after it was asked gets a message of our
// own on its bus, so that whoever is asked to end does end.
#include "video/forced_end.h"

#include "util/never_destroyed.h"
#include "video/registry.h"

#include <array>
#include <chrono>
#include <future>
#include <memory>
#include <thread>
#include <utility>

namespace {

constexpr GstClockTime END_TIMEOUT = 5 * GST_SECOND;
// A stop of all pipes may take six seconds in all.
constexpr std::chrono::milliseconds SHUT_DOWN_TIMEOUT{500};

struct clock_id_release {
    void operator()(GstClockID id) const noexcept {
        gst_clock_id_unschedule(id);
        gst_clock_id_unref(id);
    }
};

// A timer on GStreamer's own clock thread; it is called off when it is destroyed.
struct end_timer {
    std::unique_ptr<void, clock_id_release> id;
    GstClockTime due = GST_CLOCK_TIME_NONE;
};

constinit never_destroyed<std::array<end_timer, PIPE_COUNT>> end_timers;

end_timer& timer_of(int pipe) {
    return end_timers->at(static_cast<std::size_t>(pipe));
}

// Runs on GStreamer's clock thread and so only speaks through the bus, as streaming threads do.
gboolean post_end(GstClock* /*clock*/, GstClockTime /*time*/, GstClockID /*id*/, gpointer bus) {
    gst_bus_post(static_cast<GstBus*>(bus), gst_message_new_eos(nullptr));
    return TRUE;
}

void stop_child(const GValue* child, gpointer /*unused*/) {
    gst_element_set_state(GST_ELEMENT(g_value_get_object(child)), GST_STATE_NULL);
}

// A child that fails on the way keeps the bin from taking the others along.
void shut_down_child_by_child(GstElement* pipeline) {
    const gst_iterator_owned children{gst_bin_iterate_elements(GST_BIN(pipeline))};
    gst_iterator_foreach(children.get(), stop_child, nullptr);
    gst_element_set_state(pipeline, GST_STATE_NULL);
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
    timer.id.reset(gst_clock_new_single_shot_id(system_clock().get(), due));
    timer.due = due;
    gst_clock_id_wait_async(timer.id.get(), post_end, gst_object_ref(bus), gst_object_unref);
}

// A pipeline's own message names it as the source.
bool forced_end_is(GstMessage* message) {
    return GST_MESSAGE_TYPE(message) == GST_MESSAGE_EOS && GST_MESSAGE_SRC(message) == nullptr;
}

bool forced_end_shut_down(GstElement* pipeline) {
    auto done = std::make_shared<std::promise<void>>();
    const std::future<void> waiting = done->get_future();
    gst_owned<GstElement> kept = own_shared(pipeline);
    std::thread{[done = std::move(done), kept = std::move(kept)]() mutable {
        // Wakes what waits for room or for data.
        gst_element_send_event(kept.get(), gst_event_new_flush_start());
        if (gst_element_set_state(kept.get(), GST_STATE_NULL) == GST_STATE_CHANGE_FAILURE) {
            shut_down_child_by_child(kept.get());
        }
        kept.reset();
        done->set_value();
    }}.detach();
    return waiting.wait_for(SHUT_DOWN_TIMEOUT) == std::future_status::ready;
}

GstClockTime forced_end_disarm(int pipe) {
    return std::exchange(timer_of(pipe), {}).due;
}

bool forced_end_is_overdue(int pipe) {
    const end_timer& timer = timer_of(pipe);
    return timer.id && gst_clock_get_time(system_clock().get()) > timer.due;
}

// Ends a pipe: end-of-stream, forced end, shutdown.
#include "video/ending.h"

#include "video/transport.h"

#include <algorithm>
#include <chrono>
#include <functional>
#include <future>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

namespace {

constexpr std::chrono::milliseconds SHUT_DOWN_TIMEOUT{500};
// Action signal of appsrc, on which inter-pipe sources are based.
constexpr const char* END_SIGNAL = "end-of-stream";

using element_vector = std::vector<gst_owned<GstElement>>;

element_vector children_of(GstElement* bin) {
    element_vector children;
    const auto add = [](const GValue* child, gpointer list) {
        auto* const element = GST_ELEMENT(g_value_get_object(child));
        static_cast<element_vector*>(list)->push_back(own_shared(element));
    };
    const gst_owned<GstIterator> iterator{gst_bin_iterate_elements(GST_BIN(bin))};
    while (gst_iterator_foreach(iterator.get(), add, &children) == GST_ITERATOR_RESYNC) {
        gst_iterator_resync(iterator.get());
        children.clear();
    }
    return children;
}

// --- End-of-stream ---------------------------------------------------------------------------

bool takes_end_signal(const gst_owned<GstElement>& element) {
    return g_signal_lookup(END_SIGNAL, G_OBJECT_TYPE(element.get())) != 0;
}

// A paused source may refuse.
bool refuses_end(const gst_owned<GstElement>& source) {
    GstFlowReturn result = GST_FLOW_ERROR;
    g_signal_emit_by_name(source.get(), END_SIGNAL, &result);
    return result != GST_FLOW_OK;
}

void resume_when_paused(GstElement* pipeline) {
    if (GST_STATE_TARGET(pipeline) == GST_STATE_PAUSED) {
        gst_element_set_state(pipeline, GST_STATE_PLAYING);
    }
}

element_vector sources_with_end_signal(GstElement* pipeline) {
    element_vector sources = children_of(pipeline);
    std::erase_if(sources, std::not_fn(takes_end_signal));
    return sources;
}

// Sending an event to a source waits for its streaming thread, which may be stuck downstream. The
// signal of an inter-pipe source doesn't wait.
void end_sources(GstElement* pipeline) {
    element_vector sources = sources_with_end_signal(pipeline);
    if (sources.empty()) {
        gst_element_send_event(pipeline, gst_event_new_eos());
    }
    std::erase_if(sources, std::not_fn(refuses_end));
    resume_when_paused(pipeline);
    std::ranges::for_each(sources, refuses_end);
}

// Returns none if the name is null.
gst_owned<GstElement> element_in(GstElement* pipeline, const char* name) {
    return gst_owned<GstElement>{name == nullptr ? nullptr
                                                 : gst_bin_get_by_name(GST_BIN(pipeline), name)};
}

// Runs on GStreamer's clock thread, so it may only post to the bus, like streaming threads.
gboolean post_end(GstClock* /*clock*/, GstClockTime /*time*/, GstClockID /*id*/, gpointer bus) {
    gst_bus_post(static_cast<GstBus*>(bus), gst_message_new_eos(nullptr));
    return TRUE;
}

// --- Shutting down ---------------------------------------------------------------------------

bool is_made_by(const gst_owned<GstElement>& element, std::string_view factory_name) {
    GstElementFactory* const factory = gst_element_get_factory(element.get());
    return factory != nullptr && GST_OBJECT_NAME(factory) == factory_name;
}

// Disconnects the pipeline from others: removes its inter-pipe sinks, which frees their names for a
// replacement, and stops its sources from listening, so that no flush reaches other pipes. Returns
// the removed sinks; the caller sets them to NULL.
element_vector cut_off(GstElement* pipeline) {
    element_vector sinks;
    for (gst_owned<GstElement>& element : children_of(pipeline)) {
        if (is_made_by(element, INTER_PIPE_SOURCE)) {
            g_object_set(element.get(), "listen-to", nullptr, nullptr);
        } else if (is_made_by(element, INTER_PIPE_SINK)) {
            gst_bin_remove(GST_BIN(pipeline), element.get());
            g_object_set(element.get(), "name", nullptr, nullptr);
            sinks.push_back(std::move(element));
        }
    }
    return sinks;
}

void stop_all(const element_vector& elements) {
    for (const gst_owned<GstElement>& element : elements) {
        gst_element_set_state(element.get(), GST_STATE_NULL);
    }
}

// Runs the work on a separate thread. Returns false when it takes longer than half a second.
template <class Work> bool finishes_in_time(Work work) {
    auto done = std::make_shared<std::promise<void>>();
    const std::future<void> waiting = done->get_future();
    std::thread{[done = std::move(done), work = std::move(work)]() mutable {
        work();
        done->set_value();
    }}.detach();
    return waiting.wait_for(SHUT_DOWN_TIMEOUT) == std::future_status::ready;
}

// If a child fails, the bin doesn't change the others, so they are set to NULL one by one. Then
// they are locked: the bin would raise them again on its own way to NULL.
void stop_pipeline(gst_owned<GstElement> pipeline) {
    if (gst_element_set_state(pipeline.get(), GST_STATE_NULL) == GST_STATE_CHANGE_FAILURE) {
        const element_vector children = children_of(pipeline.get());
        stop_all(children);
        for (const gst_owned<GstElement>& child : children) {
            gst_element_set_locked_state(child.get(), TRUE);
        }
        gst_element_set_state(pipeline.get(), GST_STATE_NULL);
    }
}

bool stop_by_force(GstElement* pipeline) {
    return finishes_in_time([kept = own_shared(pipeline), sinks = cut_off(pipeline)]() mutable {
        // Wakes threads that wait for room or data.
        gst_element_send_event(kept.get(), gst_event_new_flush_start());
        stop_all(sinks);
        stop_pipeline(std::move(kept));
    });
}

} // namespace

gst_owned<GstClock> system_clock() {
    return gst_owned<GstClock>{gst_system_clock_obtain()};
}

void end_of_stream_send(GstElement* pipeline, const char* end_element) {
    const gst_owned<GstElement> inside = element_in(pipeline, end_element);
    if (inside) {
        gst_element_send_event(inside.get(), gst_event_new_eos());
        resume_when_paused(pipeline);
    } else {
        end_sources(pipeline);
    }
}

void end_of_stream_repeat(GstElement* pipeline, const char* end_element) {
    if (!element_in(pipeline, end_element)) {
        std::ranges::for_each(sources_with_end_signal(pipeline), refuses_end);
    }
}

GstClockTime clock_time_in(GstClockTime wait) {
    return gst_clock_get_time(system_clock().get()) + wait;
}

void end_timer::clock_id_release::operator()(GstClockID id) const noexcept {
    gst_clock_id_unschedule(id);
    gst_clock_id_unref(id);
}

void end_timer::arm(GstBus* bus, GstClockTime due) {
    if (!GST_CLOCK_TIME_IS_VALID(due)) {
        return;
    }
    id_.reset(gst_clock_new_single_shot_id(system_clock().get(), due));
    due_ = due;
    gst_clock_id_wait_async(id_.get(), post_end, gst_object_ref(bus), gst_object_unref);
}

GstClockTime end_timer::disarm() {
    id_.reset();
    return std::exchange(due_, GST_CLOCK_TIME_NONE);
}

// The pipeline itself is the source of our own message.
bool is_forced_end(GstMessage* message) {
    return GST_MESSAGE_TYPE(message) == GST_MESSAGE_EOS && GST_MESSAGE_SRC(message) == nullptr;
}

bool shut_down(GstElement* pipeline, bool is_forced) {
    if (is_forced) {
        return stop_by_force(pipeline);
    }
    const bool is_done = finishes_in_time(
        [kept = own_shared(pipeline)]() mutable { stop_pipeline(std::move(kept)); });
    if (!is_done) {
        // The sinks are still being stopped, like whatever blocks the pipeline; an element released
        // above NULL is never freed.
        finishes_in_time([sinks = cut_off(pipeline)] { stop_all(sinks); });
    }
    return is_done;
}

// The pipe registry: ten numbered slots, each with its pipeline, bus and end-of-stream flag.
#include "video/registry.h"

#include "core/failures.h"
#include "core/log.h"
#include "util/never_destroyed.h"
#include "video/ending.h"
#include "video/flushing.h"
#include "video/pipes.h"
#include "video/slots.h"
#include "video/storage.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <optional>
#include <utility>

namespace {

// Time limit for a state change in progress. Clients and buttons wait meanwhile.
constexpr GstClockTime STATE_QUERY_TIMEOUT = GST_SECOND;
// Time for a pipe to end by itself after the request. A recording can be completed when stalled
// storage recovers: it gets more time when the daemon stops, and before that unlimited time, unless
// its file can't be written.
constexpr GstClockTime END_TIMEOUT = 5 * GST_SECOND;
constexpr GstClockTime RECORD_END_TIMEOUT = 30 * GST_SECOND;
// Time for the final sync before the daemon ends. The kernel continues writing after that.
constexpr std::chrono::seconds FLUSH_TIMEOUT{5};

constinit never_destroyed<std::array<gst_owned<GstElement>, PIPE_COUNT>> pipes;
constinit never_destroyed<std::array<gst_owned<GstBus>, PIPE_COUNT>> buses;
std::array<int, PIPE_COUNT> eos_events{};
constinit never_destroyed<std::array<end_timer, PIPE_COUNT>> forced_ends;
// Pipes in which an element reported an error.
std::array<bool, PIPE_COUNT> failed{};
// Outputs that deliver.
std::array<bool, PIPE_COUNT> delivering{};
// Set once every pipe was asked to stop: nothing starts any more.
bool stopping = false;
// Set once a pipe could not be shut down.
bool is_any_stuck = false;

GstBus* bus_of(int pipe) {
    return buses->at(static_cast<std::size_t>(pipe)).get();
}

bool& has_failed(int pipe) {
    return failed.at(static_cast<std::size_t>(pipe));
}

bool& is_delivering(int pipe) {
    return delivering.at(static_cast<std::size_t>(pipe));
}

end_timer& forced_end_of(int pipe) {
    return forced_ends->at(static_cast<std::size_t>(pipe));
}

int& eos_event_of(int pipe) {
    return eos_events.at(static_cast<std::size_t>(pipe));
}

// A microphone would bring its own clock, and each pipeline would have its own base time. A
// recording joins pipes that started at different times, and its sources pass time stamps
// unchanged; a pipe that was paused would also lag behind forever.
void share_time(GstElement* pipeline) {
    static const GstClockTime origin = gst_clock_get_time(system_clock().get());
    gst_pipeline_use_clock(GST_PIPELINE(pipeline), system_clock().get());
    gst_element_set_base_time(pipeline, origin);
    gst_element_set_start_time(pipeline, GST_CLOCK_TIME_NONE);
}

bool is_running_output(const pipe_row& row) {
    return is_output(row) && is_created(row.number) != 0 && !is_ending(row.number);
}

// Ends the branches with the last output, however that ends and whatever the encoding type is by
// then. Checks which outputs exist instead of counting starts: an output may be stopped, stopped
// again, killed, or end by itself.
void end_branches_with_last_output(const pipe_row& ending) {
    if (stopping || !is_output(ending)) {
        return;
    }
    const auto goes_on = [&ending](const pipe_row& row) {
        return row.number != ending.number && is_running_output(row);
    };
    if (std::ranges::any_of(pipe_rows(), goes_on)) {
        return;
    }
    for (const pipe_row& row : pipe_rows()) {
        if (is_branch(row)) {
            gstvideo_stop_pipe(row.number);
        }
    }
}

// Calls `change` to set the element's state, unless it is already there or still changing. Result
// and log lines as for gstvideo_set_state.
template <class Change> int change_state(GstElement* element, GstState state, Change change) {
    GstState current = GST_STATE_VOID_PENDING;
    const GstStateChangeReturn answer = query_state(element, current);
    if (answer == GST_STATE_CHANGE_ASYNC) {
        return -1;
    }
    if (current == state) {
        return 0;
    }
    const g_text name{gst_element_get_name(element)};
    change();
    if (answer == GST_STATE_CHANGE_FAILURE) {
        log_message(LEVEL_DEBUG, "Failed to change state of element %s to %d", name.get(),
                    static_cast<int>(state));
        return -1;
    }
    log_message(LEVEL_DEBUG, "Changed state of element %s to %d", name.get(),
                static_cast<int>(state));
    return 0;
}

// A pipeline must be set to NULL before it is released, even if its state is unknown.
void stop_elements(int pipe, bool is_forced) {
    GstElement* const pipeline = pipe_pipeline(pipe);
    std::optional<bool> is_stopped;
    const auto stop = [&] { is_stopped = shut_down(pipeline, is_forced); };
    if (!is_forced) {
        static_cast<void>(change_state(pipeline, GST_STATE_NULL, stop));
    }
    if (!is_stopped) {
        stop();
    }
    if (!*is_stopped) {
        is_any_stuck = true;
        log_message(LEVEL_WARN, "Pipe %d is stuck, going on without it", pipe);
    }
}

// When to force the end of a pipe that is asked to end now; GST_CLOCK_TIME_NONE: not yet.
GstClockTime end_due(const pipe_row& row) {
    if (!row.records || has_failed(row.number)) {
        return clock_time_in(END_TIMEOUT);
    }
    return stopping ? clock_time_in(RECORD_END_TIMEOUT) : GST_CLOCK_TIME_NONE;
}

// A recording without any input reports no error and never ends by itself.
void force_end_of_standing_recording(const pipe_row& row) {
    if (row.records && is_ending(row.number) && !forced_end_of(row.number).is_armed() &&
        record_file_stands_still(std::chrono::steady_clock::now())) {
        forced_end_of(row.number).arm(bus_of(row.number), clock_time_in(0));
    }
}

void ask_again(const pipe_row& row) {
    if (is_ending(row.number)) {
        end_of_stream_repeat(pipe_pipeline(row.number), row.end_element);
    }
}

void tell_forced_end(const pipe_row& row) {
    const char* const file = row.records ? record_file_name() : nullptr;
    if (file != nullptr) {
        log_failure(failure_kind::storage,
                    "Pipe %d is ended by force, the last file of %s is incomplete", row.number,
                    file);
    } else {
        log_message(LEVEL_WARN, "Pipe %d is ended by force", row.number);
    }
}

// True once the sink of that name has sent a buffer since its start.
bool has_sent(GstElement* pipeline, const char* sink_name) {
    const gst_owned<GstElement> sink{gst_bin_get_by_name(GST_BIN(pipeline), sink_name)};
    GstStructure* statistics = nullptr;
    if (sink) {
        g_object_get(sink.get(), "stats", &statistics, nullptr);
    }
    const gst_owned<GstStructure> owned{statistics};
    guint64 rendered = 0;
    return owned && gst_structure_get_uint64(owned.get(), "rendered", &rendered) != FALSE &&
           rendered > 0;
}

int pause_pipe(int pipe) {
    return gstvideo_set_state(pipe_pipeline(pipe), GST_STATE_PAUSED);
}

int resume_pipe(int pipe) {
    return gstvideo_set_state(pipe_pipeline(pipe), GST_STATE_PLAYING);
}

// Runs the change on every created pipe in ascending order, up to the first failure. Skips ending
// pipes: they would not end while paused.
int change_all_pipes(const char* what, int (*change)(int pipe)) {
    log_message(LEVEL_INFO, "Requesting %s of all pipes..", what);
    for (int pipe = 0; pipe < PIPE_COUNT; ++pipe) {
        if (is_created(pipe) != 0 && !is_ending(pipe) && change(pipe) != 0) {
            log_message(LEVEL_WARN, "Failed to %s pipe %d", what, pipe);
            return 1;
        }
    }
    return 0;
}

} // namespace

bool is_pipe_number(int pipe) {
    return pipe >= 0 && pipe < PIPE_COUNT;
}

const char* pipe_short_name(int pipe) {
    return pipe_row_of(pipe).short_name;
}

int is_created(int pipe) {
    return pipe_pipeline(pipe) != nullptr ? 1 : 0;
}

GstElement* pipe_pipeline(int pipe) {
    return pipes->at(static_cast<std::size_t>(pipe)).get();
}

int create_pipeline(int pipe) {
    if (is_created(pipe) != 0) {
        return get_bus_filefd(bus_of(pipe));
    }
    if (stopping) {
        return -1;
    }
    const pipe_row& row = pipe_row_of(pipe);
    gst_owned<GstElement> pipeline = own_floating(gst_pipeline_new(row.pipeline_name));
    if (!pipeline) {
        return -1;
    }
    const auto number = static_cast<std::size_t>(pipe);
    buses->at(number).reset(gst_pipeline_get_bus(GST_PIPELINE(pipeline.get())));
    share_time(pipeline.get());
    pipes->at(number) = std::move(pipeline);
    return get_bus_filefd(bus_of(pipe));
}

bool is_ending(int pipe) {
    return is_created(pipe) != 0 && eos_event_of(pipe) != 0;
}

int get_bus_filefd(GstBus* bus) {
    GPollFD poll_record{};
    gst_bus_get_pollfd(bus, &poll_record);
    return poll_record.fd;
}

int gstvideo_process_message(int pipe) {
    if (bus_of(pipe) == nullptr) {
        return 1;
    }
    const gst_owned<GstMessage> message{gst_bus_pop(bus_of(pipe))};
    return message ? message_handle(message.get(), pipe) : 0;
}

GstStateChangeReturn query_state(GstElement* element, GstState& state) {
    return gst_element_get_state(element, &state, nullptr, STATE_QUERY_TIMEOUT);
}

int gstvideo_set_state(GstElement* element, GstState state) {
    return change_state(element, state, [&] { gst_element_set_state(element, state); });
}

void send_eos(int pipe) {
    if (eos_event_of(pipe) != 0) {
        log_message(LEVEL_INFO, "EOS to pipe: %d already sent.", pipe);
        return;
    }
    end_branches_with_last_output(pipe_row_of(pipe));
    log_message(LEVEL_INFO, "Sending eos on pipe: %d", pipe);
    eos_event_of(pipe) = 1;
    forced_end_of(pipe).arm(bus_of(pipe), end_due(pipe_row_of(pipe)));
    end_of_stream_send(pipe_pipeline(pipe), pipe_row_of(pipe).end_element);
}

void destroy_pipe(int pipe, bool is_forced) {
    log_message(LEVEL_INFO, "Got EoS event on pipe %d", pipe);
    const pipe_row& row = pipe_row_of(pipe);
    const bool was_asked = is_ending(pipe);
    forced_end_of(pipe).disarm();
    if (is_forced) {
        tell_forced_end(row);
    }
    stop_elements(pipe, is_forced);
    buses->at(static_cast<std::size_t>(pipe)).reset();
    pipes->at(static_cast<std::size_t>(pipe)).reset();
    if (row.records) {
        record_file_finish(!is_forced);
    }
    eos_event_of(pipe) = 0;
    has_failed(pipe) = false;
    is_delivering(pipe) = false;
    if (!was_asked) {
        end_branches_with_last_output(row);
    }
}

void note_error(int pipe) {
    has_failed(pipe) = true;
    if (is_ending(pipe) && !forced_end_of(pipe).is_armed()) {
        forced_end_of(pipe).arm(bus_of(pipe), end_due(pipe_row_of(pipe)));
    }
}

void note_delivery(int pipe) {
    is_delivering(pipe) = true;
}

// An ending pipe is asked again: the restart discards the end-of-stream event, and maybe the
// message that forces its end. The time limit stays the same, however often the pipe is restarted.
void restart_pipe(int pipe) {
    log_message(LEVEL_INFO, "event detected");
    const bool ending = eos_event_of(pipe) != 0;
    const GstClockTime due = forced_end_of(pipe).disarm();
    is_delivering(pipe) = false;
    gstvideo_set_state(pipe_pipeline(pipe), GST_STATE_NULL);
    gstvideo_set_state(pipe_pipeline(pipe), GST_STATE_PLAYING);
    if (ending) {
        forced_end_of(pipe).arm(bus_of(pipe), due);
        end_of_stream_send(pipe_pipeline(pipe), pipe_row_of(pipe).end_element);
    }
}

int gstvideo_stop_pipe(int pipe) {
    if (is_created(pipe) != 0) {
        send_eos(pipe);
    }
    return 0;
}

int gstvideo_pause_pipe(int pipe) {
    return is_created(pipe) != 0 && !is_ending(pipe) ? pause_pipe(pipe) : 1;
}

int gstvideo_resume_pipe(int pipe) {
    return is_created(pipe) != 0 ? resume_pipe(pipe) : 1;
}

void gstvideo_stop_all_pipes() {
    stopping = true;
    log_message(LEVEL_INFO, "Requesting stop of all pipes..");
    for (int pipe = 0; pipe < PIPE_COUNT; ++pipe) {
        gstvideo_stop_pipe(pipe);
        if (is_created(pipe) != 0 && !forced_end_of(pipe).is_armed()) {
            forced_end_of(pipe).arm(bus_of(pipe), end_due(pipe_row_of(pipe)));
        }
    }
}

int gstvideo_pause_all_pipes() {
    return change_all_pipes("pause", pause_pipe);
}

int gstvideo_resume_all_pipes() {
    return change_all_pipes("resume", resume_pipe);
}

int gstvideo_are_pipes_closed() {
    for (int pipe = 0; pipe < PIPE_COUNT; ++pipe) {
        if (is_created(pipe) != 0) {
            return 0;
        }
    }
    return 1;
}

int gstvideo_is_playing(int pipe) {
    return is_created(pipe);
}

output_state gstvideo_output_state(int pipe) {
    if (is_created(pipe) == 0) {
        return output_state::off;
    }
    if (is_ending(pipe)) {
        return output_state::ending;
    }
    return is_delivering(pipe) ? output_state::on : output_state::starting;
}

void gstvideo_watch_pushes() {
    for (const pipe_row& row : pipe_rows()) {
        if (row.restarted_by != nullptr && is_created(row.number) != 0 &&
            has_sent(pipe_pipeline(row.number), row.restarted_by)) {
            note_delivery(row.number);
        }
    }
}

void gstvideo_handle_ending_pipes(void (*ended)(bus_handle handle)) {
    std::ranges::for_each(pipe_rows(), ask_again);
    std::ranges::for_each(pipe_rows(), force_end_of_standing_recording);
    for (int pipe = 0; pipe < PIPE_COUNT; ++pipe) {
        while (is_ending(pipe) && gst_bus_have_pending(bus_of(pipe)) != FALSE) {
            const int fd = get_bus_filefd(bus_of(pipe));
            if (gstvideo_process_message(pipe) != 0) {
                ended({fd, pipe});
            }
        }
    }
}

void gstvideo_destroy() {
    if (!flushing_ends_within(FLUSH_TIMEOUT)) {
        log_message(LEVEL_WARN, "The storage stalls, going on without it");
    }
    // gst_deinit would wait for the streaming threads of a stuck pipe.
    if (!is_any_stuck) {
        gst_deinit();
    }
}

// Initialises GStreamer; starts and stops live-view pipes and media outputs.
#include "video/start.h"

#include "core/log.h"
#include "video/builder.h"
#include "video/controls.h"
#include "video/pipes.h"
#include "video/slots.h"
#include "video/storage.h"

#include <algorithm>

namespace {

void require_known_enc_type() {
    if (!is_enc_type(configs.enc_type)) {
        log_fatal("Unknown encoding type");
    }
}

bool is_needed(pipe_enum branch) {
    return encodes(configs.enc_type, pipe_row_of(branch).carries);
}

// An output that joined an ending pipe would be left without input.
bool refuse_when_ending(int pipe) {
    if (is_ending(pipe)) {
        log_message(LEVEL_WARN, "Pipe %d is still ending, try again in a moment", pipe);
        return true;
    }
    return false;
}

bool may_start(const pipe_row& output) {
    return std::ranges::any_of(output.branches, is_needed) && !refuse_when_ending(output.number) &&
           std::ranges::none_of(output.branches, [](pipe_enum branch) {
               return is_needed(branch) && refuse_when_ending(branch);
           });
}

std::optional<bus_list> start_output(int pipe, const start_arguments& arguments) {
    const pipe_row& output = pipe_row_of(pipe);
    require_known_enc_type();
    if (!may_start(output)) {
        return std::nullopt;
    }
    if (output.records) {
        record_file_set(arguments.location_pattern);
    }
    bus_list list{};
    auto entry = list.begin();
    for (const pipe_enum branch : output.branches) {
        if (is_needed(branch)) {
            *entry++ = start_pipe(branch);
        }
    }
    // A branch that another output kept running has the volume it was built with.
    apply_microphone_volume();
    *entry = start_pipe(pipe, arguments);
    const auto is_missing = [](const bus_handle& handle) { return handle.fd < 0; };
    return std::ranges::any_of(list, is_missing) ? std::nullopt : std::optional{list};
}

int stop_output(int pipe) {
    if (is_created(pipe) != 0) {
        require_known_enc_type();
        send_eos(pipe);
    }
    return 0;
}

} // namespace

int gstvideo_init(const video_config& settings) {
    if (gst_is_initialized() != FALSE) {
        return 0;
    }
    // Unlike gst_init, gst_init_check doesn't exit on failure.
    gst_init_check(nullptr, nullptr, nullptr);
    if (gst_is_initialized() == FALSE) {
        return 1;
    }
    const g_text version{gst_version_string()};
    log_message(LEVEL_INFO, "Gstreamer initialized, verison: %s", version.get());
    configs = settings;
    configs.mic_amplification = settings.mic_amplification / mic_scale;
    return 0;
}

bus_handle gstvideo_start_video_src(const char* overlay_file) {
    return start_pipe(PIPE_SRC, {.overlay_file = overlay_file});
}

bus_handle gstvideo_start_display() {
    return start_pipe(PIPE_DISPLAY);
}

bus_handle gstvideo_start_splash(const char* overlay_file, const char* image_path) {
    return start_pipe(PIPE_SPLASH, {.overlay_file = overlay_file, .image = image_path});
}

int gstvideo_stop_main_video() {
    return gstvideo_stop_pipe(PIPE_DISPLAY);
}

bus_handle gstvideo_start_pipe(int pipe) {
    const bool may_create = is_created(pipe) == 0 && pipe_row_of(pipe).clients_may_create;
    return may_create ? start_pipe(pipe) : bus_handle{-1, pipe};
}

std::optional<bus_list> gstvideo_start_record(const char* location_pattern) {
    return start_output(PIPE_RECORD, {.location_pattern = location_pattern});
}

std::optional<bus_list> gstvideo_start_stream(int port) {
    return start_output(PIPE_TCP_STREAM, {.port = port});
}

std::optional<bus_list> gstvideo_start_http_stream(const char* url) {
    return start_output(PIPE_HTTP_STREAM, {.url = url});
}

int gstvideo_stop_record() {
    return stop_output(PIPE_RECORD);
}

int gstvideo_stop_stream() {
    return stop_output(PIPE_TCP_STREAM);
}

int gstvideo_stop_http_stream() {
    return stop_output(PIPE_HTTP_STREAM);
}

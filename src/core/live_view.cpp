// Starts the live view and replaces it by the no-input picture when the camera is lost.
#include "core/live_view.h"

#include "config/cfg.h"
#include "control/hand_over.h"
#include "control/pipe_events.h"
#include "core/failures.h"
#include "core/log.h"
#include "osd/notices.h"
#include "osd/overlay.h"
#include "osd/redis_message_broker.h"
#include "util/files.h"
#include "video/controls.h"
#include "video/registry.h"
#include "video/settings.h"
#include "video/start.h"

#include <algorithm>
#include <cstdint>
#include <utility>

namespace {

constexpr std::int64_t NANOSECONDS_PER_SECOND = 1'000'000'000;

video_config video_settings(bool profile) {
    const settings& config = global_config;
    return {
        .mic_amplification = static_cast<double>(config.mic_volume),
        .record_max_len_ns = config.record_max_len * NANOSECONDS_PER_SECOND,
        .record_enc_bitrate = config.record_enc_bitrate,
        .record_enc_gop = config.record_enc_gop,
        .record_enc_idr = config.record_enc_idr,
        .record_enc_search_range = config.record_enc_search_range,
        .aud_enc_bitrate = config.aud_enc_bitrate,
        .stream_enc_bitrate = config.stream_enc_bitrate,
        .stream_enc_gop = config.stream_enc_gop,
        .stream_enc_idr = config.stream_enc_idr,
        .stream_enc_search_range = config.stream_enc_search_range,
        .enc_type = config.enc_type,
        .profile = profile ? 1 : 0,
    };
}

// Set when the display ended while a splash was still ending: a new one can start after that.
bool is_splash_due = false;

bool is_splash_awaited() {
    return std::exchange(is_splash_due, false) && gstvideo_is_playing(PIPE_DISPLAY) == 0;
}

void display_no_input() {
    is_splash_due = is_ending(PIPE_SPLASH);
    if (is_splash_due) {
        return;
    }
    log_failure(failure_kind::camera, "Input failed - showing no video indication");
    const bus_handle splash = gstvideo_start_splash(global_config.qml_file, NO_INPUT_IMAGE);
    if (splash.fd < 0) {
        log_fatal("Failed to create no input splash pipe");
    }
    if (register_bus(splash) != 0) {
        log_fatal("Failed to register splash pipe in event aggregator");
    }
    send_mb_event(NOTICE_NO_INPUT);
}

// The picture at the last tick, and for how many ticks it has been shown.
picture_mark shown_last;
int ticks_unchanged = 0;
constexpr int FROZEN_TICKS = 2;

bool is_frozen() {
    return ticks_unchanged >= FROZEN_TICKS;
}

// Returns for how many ticks the display has shown its picture; 0 for a new one or without a
// display.
int count_unchanged_ticks() {
    if (gstvideo_is_playing(PIPE_DISPLAY) == 0) {
        shown_last = {};
        return 0;
    }
    const picture_mark shown = gstvideo_shown_picture();
    const bool is_new = std::exchange(shown_last, shown) != shown;
    return is_new ? 0 : std::min(ticks_unchanged + 1, FROZEN_TICKS);
}

} // namespace

live_view_state get_live_view_state() {
    if (gstvideo_is_playing(PIPE_SPLASH) != 0) {
        return live_view_state::no_input;
    }
    if (gstvideo_is_playing(PIPE_DISPLAY) == 0) {
        return live_view_state::none;
    }
    return is_frozen() ? live_view_state::frozen : live_view_state::live;
}

void watch_live_view() {
    const bool was_frozen = is_frozen();
    ticks_unchanged = count_unchanged_ticks();
    if (is_frozen() && !was_frozen) {
        log_failure(failure_kind::camera, "The picture is frozen: no new one for two seconds");
    } else if (was_frozen && !is_frozen()) {
        log_message(LEVEL_INFO, "The picture is not frozen any more");
    }
}

void refresh_new_overlay() {
    static bool is_first = true;
    if (gstvideo_take_new_overlay() && !std::exchange(is_first, false) && !ac_is_handed_over()) {
        ov_send_again();
    }
}

live_view start_live_view(bool profile) {
    if (gstvideo_init(video_settings(profile)) != 0) {
        log_fatal("Failed to init gstreamer");
    }
    const live_view view{gstvideo_start_video_src(global_config.qml_file),
                         gstvideo_start_display()};
    static_cast<void>(touch_file(global_config.video_ready_file));
    if (view.src.fd < 0 || view.display.fd < 0) {
        log_fatal("Failed to init the video pipes");
    }
    return view;
}

void recover_live_view(int ended_pipe) {
    if (ended_pipe == PIPE_SRC) {
        gstvideo_stop_pipe(PIPE_DISPLAY);
    } else if (ended_pipe == PIPE_DISPLAY || (ended_pipe == PIPE_SPLASH && is_splash_awaited())) {
        display_no_input();
    }
}

// Controls for running pipes: snapshot, overlay, microphone volume, encoding type.
#include "video/controls.h"

#include "config/settings.h"
#include "core/log.h"
#include "util/sysroot.h"
#include "video/flushing.h"
#include "video/handles.h"
#include "video/settings.h"
#include "video/slots.h"

#include <cstdio>
#include <gst/video/video.h>
#include <utility>

namespace {

bool is_overlay_hidden = false;

gst_owned<GstSample> last_display_sample() {
    GstSample* sample = nullptr;
    if (const gst_owned<GstElement> sink = handle_get(element_handle::display_sink)) {
        g_object_get(sink.get(), "last-sample", &sample, nullptr);
    }
    return gst_owned<GstSample>{sample};
}

gst_owned<GstSample> convert_to_jpeg(GstSample* sample) {
    const gst_owned<GstCaps> caps{gst_caps_from_string("image/jpeg")};
    GError* error = nullptr;
    gst_owned<GstSample> jpeg{
        gst_video_convert_sample(sample, caps.get(), GST_CLOCK_TIME_NONE, &error)};
    const g_error_owned owned_error{error};
    if (!jpeg) {
        log_fatal("Error converting frame: %s", error != nullptr ? error->message : "(NULL)");
    }
    return jpeg;
}

int write_sample(GstSample* sample, const char* path) {
    GstBuffer* const buffer = gst_sample_get_buffer(sample);
    GstMapInfo bytes{};
    if (gst_buffer_map(buffer, &bytes, GST_MAP_READ) == FALSE) {
        return 1;
    }
    GError* error = nullptr;
    g_file_set_contents(sysroot_path(path).c_str(), reinterpret_cast<const char*>(bytes.data),
                        static_cast<gssize>(bytes.size), &error);
    gst_buffer_unmap(buffer, &bytes);
    const g_error_owned owned_error{error};
    if (error != nullptr) {
        log_message(LEVEL_WARN, "Could not save snapshot: %s", error->message);
        return 1;
    }
    return 0;
}

bool is_recording_or_streaming() {
    return is_created(PIPE_TCP_STREAM) != 0 || is_created(PIPE_RECORD) != 0;
}

} // namespace

int gstvideo_takesnapshot(const char* path) {
    if (is_created(PIPE_DISPLAY) == 0) {
        return 1;
    }
    gst_owned<GstSample> shown = last_display_sample();
    if (!shown) {
        log_fatal("Error getting last sample from display sink");
    }
    const gst_owned<GstSample> jpeg = convert_to_jpeg(shown.get());
    shown.reset();
    if (write_sample(jpeg.get(), path) != 0) {
        return 1;
    }
    flush_folder_of_file(path);
    return 0;
}

picture_mark gstvideo_shown_picture() {
    const gst_owned<GstSample> shown = last_display_sample();
    GstBuffer* const picture = shown ? gst_sample_get_buffer(shown.get()) : nullptr;
    if (picture == nullptr) {
        return {};
    }
    return {.stamp = GST_BUFFER_PTS(picture), .buffer = reinterpret_cast<std::uintptr_t>(picture)};
}

int gstvideo_show_overlay(int show) {
    is_overlay_hidden = show == 0;
    if (const gst_owned<GstElement> overlay = handle_get(element_handle::overlay)) {
        g_object_set(overlay.get(), "disable", static_cast<gboolean>(is_overlay_hidden), nullptr);
    }
    return 0;
}

bool gstvideo_take_new_overlay() {
    const bool is_new = std::exchange(is_overlay_new, false);
    if (is_new && is_overlay_hidden) {
        static_cast<void>(gstvideo_show_overlay(0));
    }
    return is_new;
}

int gstvideo_set_qml_param(const char* object, const char* property, const char* value) {
    const g_text text{g_strdup_printf("%s.%s:%s", object, property, value)};
    if (const gst_owned<GstElement> overlay = handle_get(element_handle::overlay)) {
        g_object_set(overlay.get(), "qml-attribute", text.get(), nullptr);
    }
    return 0;
}

int gstvideo_set_microphone_volume(int volume) {
    if (!range_of(&settings::mic_volume).holds(volume)) {
        log_message(LEVEL_WARN, "Mic vol should be a positive [0-100](was %d), remaining at: %d",
                    volume, static_cast<int>(configs.mic_amplification * mic_scale));
        return 1;
    }
    configs.mic_amplification = volume / mic_scale;
    if (is_recording_or_streaming() && configs.enc_type != ENC_TYPE_VIDEO) {
        apply_microphone_volume();
    }
    return 0;
}

void apply_microphone_volume() {
    if (const gst_owned<GstElement> amplifier = handle_get(element_handle::audio_amp)) {
        g_object_set(amplifier.get(), "amplification", configs.mic_amplification, nullptr);
    }
}

int gstvideo_change_enc_type(int type) {
    if (is_recording_or_streaming()) {
        return 1;
    }
    configs.enc_type = type;
    return 0;
}

// The live view: camera with overlay, display, and the splash that stands in for a lost camera.
#include "video/live_view.h"

#include "core/log.h"
#include "video/pipe_builder.h"
#include "video/pipe_slots.h"
#include "video/transport.h"

#include <array>

constinit video_config configs;

namespace {

using namespace std::string_view_literals;

constexpr int CAPTURE_MODE_DEFAULT = 0; // imxv4l2videosrc: the sensor's 640x480 mode

constexpr caps_text DISPLAY_CAPS{
    "video/x-raw, width=1024, height=768, framerate=30/1, format=RGBA"};
constexpr board_path FRAMEBUFFER{"/dev/fb0"};

bool profiling() {
    return configs.profile != 0;
}

// --- Source pipe; argument 0 is the overlay file ---------------------------------------------

constexpr std::array src_elements = std::to_array<element_row>({
    {"imxv4l2videosrc", "camera-source", element_handle::source},
    {"imxg2dvideotransform", "g2d-transform", element_handle::g2d_xform},
    {"capsfilter", "g2d-caps", element_handle::g2d_caps},
    {"queue", "queue-before-qt", element_handle::q_before_qt},
    {"qtoverlay", "overlay-plugin", element_handle::overlay},
    {"queue", "queue-after-qt", element_handle::q_after_qt},
    {"interpipesink", VIDEO_SRC_SINK, element_handle::src_ipsink},
});

constexpr std::array src_properties = std::to_array<property_row>({
    {"camera-source", "device", board_path{"/dev/video0"}},
    {"camera-source", "imx-capture-mode", CAPTURE_MODE_DEFAULT},
    {"camera-source", "queue-size", 10},
    {VIDEO_SRC_SINK, "sync", false},
    {VIDEO_SRC_SINK, "async", false},
    {"queue-before-qt", "leaky", LEAKY_DOWNSTREAM},
    {"overlay-plugin", "qml", path_argument{0}},
    {"queue-after-qt", "leaky", LEAKY_DOWNSTREAM},
    {"g2d-caps", "caps", DISPLAY_CAPS},
});

constexpr pipe_table src_table{
    src_elements,
    {},
    src_properties,
    "One element could not be created in the src pipe.",
    "Failed to link elements in the src pipe",
    "Source Pipeline set to playing",
};
static_assert(pipe_table_is_sound(src_table));

// --- Display pipe ----------------------------------------------------------------------------

constexpr std::array display_elements = std::to_array<element_row>({
    {"interpipesrc", "display-ipsrc", element_handle::display_ipsrc},
    {"perf", "perf-display", element_handle::none, profiling, false},
    {"imxipuvideosink", "display-sink", element_handle::display_sink},
});

constexpr std::array display_creation{"display-ipsrc"sv, "display-sink"sv, "perf-display"sv};

constexpr std::array display_properties = std::to_array<property_row>({
    {"perf-display", "print-cpu-load", true},
    {"display-ipsrc", "listen-to", VIDEO_SRC_SINK},
    {"display-ipsrc", "stream-sync", STREAM_SYNC_COMPENSATE},
    {"display-ipsrc", "format", FORMAT_TIME},
    {"display-sink", "sync", false},
    {"display-sink", "async", false},
    {"display-sink", "use-vsync", true},
    {"display-sink", "framebuffer", FRAMEBUFFER},
});

constexpr pipe_table display_table{
    display_elements,
    display_creation,
    display_properties,
    "One element could not be created in the display pipe.",
    "Failed to link elements in the display pipe",
    "Display Pipeline set to playing",
};
static_assert(pipe_table_is_sound(display_table));

// --- Splash pipe; arguments: 0 the overlay file, 1 the image ---------------------------------

constexpr std::array splash_elements = std::to_array<element_row>({
    {"filesrc", "splash-source", element_handle::source},
    {"pngdec", "png-decoder"},
    {"imagefreeze", "splash-image-freeze"},
    {"imxg2dvideotransform", "g2d-transform", element_handle::g2d_xform},
    {"capsfilter", "g2d-caps", element_handle::g2d_caps},
    {"queue", "queue-before-qt", element_handle::q_before_qt},
    {"qtoverlay", "overlay-plugin", element_handle::overlay},
    {"queue", "queue-after-qt", element_handle::q_after_qt},
    {"perf", "splash-perf"},
    {"imxipuvideosink", "display-sink"},
});

constexpr std::array splash_creation{
    "splash-source"sv,  "png-decoder"sv,  "splash-image-freeze"sv, "splash-perf"sv,
    "g2d-transform"sv,  "g2d-caps"sv,     "queue-before-qt"sv,     "overlay-plugin"sv,
    "queue-after-qt"sv, "display-sink"sv,
};

constexpr std::array splash_properties = std::to_array<property_row>({
    {"splash-source", "location", path_argument{1}},
    {"queue-before-qt", "leaky", LEAKY_DOWNSTREAM},
    {"overlay-plugin", "qml", path_argument{0}},
    {"queue-after-qt", "leaky", LEAKY_DOWNSTREAM},
    {"g2d-caps", "caps", DISPLAY_CAPS},
    {"display-sink", "sync", false},
    {"display-sink", "async", false},
    {"display-sink", "use-vsync", true},
    {"display-sink", "framebuffer", FRAMEBUFFER},
});

constexpr pipe_table splash_table{
    splash_elements,
    splash_creation,
    splash_properties,
    "One element could not be created in the splash pipe.",
    "Failed to link elements in the splash pipe",
    "Splash Pipeline set to playing",
};
static_assert(pipe_table_is_sound(splash_table));

int create_src_pipe(GstElement* pipeline, const char* overlay_file) {
    return build_pipe(pipeline, src_table, std::array<pipe_argument, 1>{overlay_file});
}

int create_display_pipe(GstElement* pipeline) {
    return build_pipe(pipeline, display_table);
}

int create_splash_pipe(GstElement* pipeline, const char* overlay_file, const char* image_path) {
    return build_pipe(pipeline, splash_table,
                      std::array<pipe_argument, 2>{overlay_file, image_path});
}

} // namespace

int gstvideo_init(const video_config& settings) {
    if (gst_is_initialized() != FALSE) {
        return 0;
    }
    // Unlike gst_init, this does not end the process itself when it fails.
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
    return start_pipe(PIPE_SRC, [overlay_file](GstElement* pipeline) {
        return create_src_pipe(pipeline, overlay_file);
    });
}

bus_handle gstvideo_start_display() {
    return start_pipe(PIPE_DISPLAY, create_display_pipe);
}

bus_handle gstvideo_start_splash(const char* overlay_file, const char* image_path) {
    return start_pipe(PIPE_SPLASH, [overlay_file, image_path](GstElement* pipeline) {
        return create_splash_pipe(pipeline, overlay_file, image_path);
    });
}

int gstvideo_stop_main_video() {
    return gstvideo_stop_pipe(PIPE_DISPLAY);
}

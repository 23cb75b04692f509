// The live view's pipes: camera with overlay, display, and the splash that replaces a lost camera.
// Included by pipes.cpp only.
#pragma once

#include "video/pipes.h"
#include "video/transport.h"

constexpr int CAPTURE_MODE_DEFAULT = 0; // imxv4l2videosrc: the sensor's 640x480 mode

constexpr caps_text DISPLAY_CAPS{
    "video/x-raw, width=1024, height=768, framerate=30/1, format=RGBA"};
constexpr board_path FRAMEBUFFER{"/dev/fb0"};

constexpr std::array display_sink_properties = std::to_array<property_row>({
    {.element = "display-sink", .property = "sync", .value = false},
    {.element = "display-sink", .property = "async", .value = false},
    {.element = "display-sink", .property = "use-vsync", .value = true},
    {.element = "display-sink", .property = "framebuffer", .value = FRAMEBUFFER},
});

// --- Source ----------------------------------------------------------------------------------

constexpr std::array src_elements = std::to_array<element_row>({
    {.factory = "imxv4l2videosrc", .name = "camera-source"},
    {.factory = "imxg2dvideotransform", .name = "g2d-transform"},
    {.factory = "capsfilter", .name = "g2d-caps"},
    {.factory = "queue", .name = "queue-before-qt"},
    {.factory = "qtoverlay", .name = "overlay-plugin", .handle = element_handle::overlay},
    {.factory = "queue", .name = "queue-after-qt"},
    {.factory = INTER_PIPE_SINK, .name = VIDEO_SRC_SINK},
});

constexpr std::array src_properties = std::to_array<property_row>({
    {.element = "camera-source", .property = "device", .value = board_path{"/dev/video0"}},
    {.element = "camera-source", .property = "imx-capture-mode", .value = CAPTURE_MODE_DEFAULT},
    {.element = "camera-source", .property = "queue-size", .value = 10},
    {.element = VIDEO_SRC_SINK, .property = "sync", .value = false},
    {.element = VIDEO_SRC_SINK, .property = "async", .value = false},
    {.element = "queue-before-qt", .property = "leaky", .value = LEAKY_DOWNSTREAM},
    {.element = "overlay-plugin",
     .property = "qml",
     .value = given_path{&start_arguments::overlay_file}},
    {.element = "queue-after-qt", .property = "leaky", .value = LEAKY_DOWNSTREAM},
    {.element = "g2d-caps", .property = "caps", .value = DISPLAY_CAPS},
});

// --- Display ---------------------------------------------------------------------------------

constexpr std::array display_elements = std::to_array<element_row>({
    {.factory = INTER_PIPE_SOURCE, .name = "display-ipsrc"},
    {.factory = "perf",
     .name = "perf-display",
     .wanted_by = &video_config::profile,
     .required = false},
    {.factory = "imxipuvideosink", .name = "display-sink", .handle = element_handle::display_sink},
});

constexpr std::array<std::string_view, 3> display_creation{"display-ipsrc", "display-sink",
                                                           "perf-display"};

constexpr std::array display_properties = join_rows(
    std::to_array<property_row>({
        {.element = "perf-display", .property = "print-cpu-load", .value = true},
        {.element = "display-ipsrc", .property = "listen-to", .value = VIDEO_SRC_SINK},
        {.element = "display-ipsrc", .property = "stream-sync", .value = STREAM_SYNC_COMPENSATE},
        {.element = "display-ipsrc", .property = "format", .value = FORMAT_TIME},
    }),
    display_sink_properties, holds_few_pictures("display-ipsrc"));

// --- Splash ----------------------------------------------------------------------------------

constexpr std::array splash_elements = std::to_array<element_row>({
    {.factory = "filesrc", .name = "splash-source"},
    {.factory = "pngdec", .name = "png-decoder"},
    {.factory = "imagefreeze", .name = "splash-image-freeze"},
    {.factory = "imxg2dvideotransform", .name = "g2d-transform"},
    {.factory = "capsfilter", .name = "g2d-caps"},
    {.factory = "queue", .name = "queue-before-qt"},
    {.factory = "qtoverlay", .name = "overlay-plugin", .handle = element_handle::overlay},
    {.factory = "queue", .name = "queue-after-qt"},
    {.factory = "perf", .name = "splash-perf"},
    {.factory = "imxipuvideosink", .name = "display-sink"},
});

constexpr std::array<std::string_view, 10> splash_creation{
    "splash-source", "png-decoder",     "splash-image-freeze", "splash-perf",    "g2d-transform",
    "g2d-caps",      "queue-before-qt", "overlay-plugin",      "queue-after-qt", "display-sink",
};

constexpr std::array splash_properties =
    join_rows(std::to_array<property_row>({
                  {.element = "splash-source",
                   .property = "location",
                   .value = given_path{&start_arguments::image}},
                  {.element = "queue-before-qt", .property = "leaky", .value = LEAKY_DOWNSTREAM},
                  {.element = "overlay-plugin",
                   .property = "qml",
                   .value = given_path{&start_arguments::overlay_file}},
                  {.element = "queue-after-qt", .property = "leaky", .value = LEAKY_DOWNSTREAM},
                  {.element = "g2d-caps", .property = "caps", .value = DISPLAY_CAPS},
              }),
              display_sink_properties);

// --- Pipes -----------------------------------------------------------------------------------

constexpr std::array live_pipes = std::to_array<pipe_row>({
    {
        .number = PIPE_SRC,
        .short_name = "src",
        .pipeline_name = "src-pipe",
        .purpose = "the camera and the on-screen display",
        .chain = {.elements = src_elements,
                  .properties = src_properties,
                  .create_failed = "One element could not be created in the src pipe.",
                  .link_failed = "Failed to link elements in the src pipe"},
        .playing = "Source Pipeline set to playing",
        // A silent camera doesn't forward events.
        .end_element = "g2d-transform",
        .failure = failure_kind::camera,
        .clients_may_create = true,
    },
    {
        .number = PIPE_DISPLAY,
        .short_name = "display",
        .pipeline_name = "display-pipe",
        .purpose = "the picture to the panel",
        .chain = {.elements = display_elements,
                  .creation = display_creation,
                  .properties = display_properties,
                  .create_failed = "One element could not be created in the display pipe.",
                  .link_failed = "Failed to link elements in the display pipe"},
        .playing = "Display Pipeline set to playing",
        .clients_may_create = true,
    },
    {
        .number = PIPE_SPLASH,
        .short_name = "splash",
        .pipeline_name = "splash-pipe",
        .purpose = "the no-input picture",
        .chain = {.elements = splash_elements,
                  .creation = splash_creation,
                  .properties = splash_properties,
                  .create_failed = "One element could not be created in the splash pipe.",
                  .link_failed = "Failed to link elements in the splash pipe"},
        .playing = "Splash Pipeline set to playing",
        // The still picture before it never ends.
        .end_element = "g2d-transform",
        .clients_may_create = true,
    },
});

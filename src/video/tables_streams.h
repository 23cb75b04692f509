// The network streams: an MPEG transport stream served over TCP, and H.264 pushed over HTTP.
// Included by pipes.cpp only.
#pragma once

#include "video/pipes.h"
#include "video/transport.h"

constexpr const char* TCP_CREATE_FAILED = "One element could not be created in the stream pipe.";
constexpr const char* TCP_LINK_FAILED = "Failed to link elements in the streaming pipe";
constexpr int CLIENT_TIMEOUT_NS = 2'000'000'000;
constexpr unsigned int VIEWERS_MAX = 32; // each needs a descriptor and some CPU time
constexpr int CLIENT_BUFFERS = 63;       // how far a slow client may lag behind

// --- TCP: muxer and server -------------------------------------------------------------------

constexpr std::array tcp_elements = std::to_array<element_row>({
    {.factory = "mpegtsmux", .name = "tcp-mux"},
    {.factory = "tcpserversink", .name = "tcp-sink", .viewers_max = VIEWERS_MAX},
});

constexpr std::array tcp_properties = std::to_array<property_row>({
    {.element = "tcp-sink", .property = "host", .value = "0.0.0.0"},
    {.element = "tcp-sink", .property = "port", .value = &start_arguments::port},
    {.element = "tcp-sink", .property = "buffers-soft-max", .value = CLIENT_BUFFERS},
    {.element = "tcp-sink", .property = "timeout", .value = CLIENT_TIMEOUT_NS},
});

// --- TCP: inputs; late data is dropped before the muxer --------------------------------------

constexpr std::array tcp_video_elements = std::to_array<element_row>({
    {.factory = INTER_PIPE_SOURCE, .name = "tcp-vid-ipsrc"},
    {.factory = "queue", .name = "tcp-vid-queue"},
});

constexpr std::array<std::string_view, 2> tcp_video_creation{"tcp-vid-queue", "tcp-vid-ipsrc"};

constexpr std::array tcp_video_properties =
    join_rows(holds_newest("tcp-vid-queue"),
              listens_to("tcp-vid-ipsrc", STREAM_VID_ENC_SINK, STREAM_SYNC_PASS_THROUGH));

constexpr std::array tcp_audio_elements = std::to_array<element_row>({
    {.factory = INTER_PIPE_SOURCE, .name = "tcp-aud-ipsrc"},
    {.factory = "queue", .name = "tcp-aud-queue"},
});

constexpr std::array<std::string_view, 2> tcp_audio_creation{"tcp-aud-queue", "tcp-aud-ipsrc"};

constexpr std::array tcp_audio_properties =
    join_rows(holds_newest("tcp-aud-queue"),
              listens_to("tcp-aud-ipsrc", AUD_ENC_SINK, STREAM_SYNC_PASS_THROUGH));

constexpr std::array tcp_inputs = std::to_array<muxer_input>({
    {.carries = medium::video,
     .chain = {.elements = tcp_video_elements,
               .creation = tcp_video_creation,
               .properties = tcp_video_properties,
               .create_failed = TCP_CREATE_FAILED,
               .link_failed = TCP_LINK_FAILED},
     .pad_name = "sink_%d",
     .pad_failed = "Failed to link video pad of the stream mux.\n"},
    {.carries = medium::sound,
     .chain = {.elements = tcp_audio_elements,
               .creation = tcp_audio_creation,
               .properties = tcp_audio_properties,
               .create_failed = TCP_CREATE_FAILED,
               .link_failed = TCP_LINK_FAILED},
     .pad_name = "sink_%d",
     .pad_failed = "Failed to link audio pad of the stream mux.\n"},
});

// --- HTTP ------------------------------------------------------------------------------------

constexpr std::array http_elements = std::to_array<element_row>({
    {.factory = INTER_PIPE_SOURCE, .name = "http-vid-src"},
    {.factory = "curlhttpsink", .name = "http-sink"},
});

constexpr std::array http_properties =
    join_rows(std::to_array<property_row>({
                  {.element = "http-sink", .property = "location", .value = &start_arguments::url},
              }),
              listens_to("http-vid-src", STREAM_VID_ENC_SINK, STREAM_SYNC_PASS_THROUGH),
              in_time("http-sink"));

// --- Pipes -----------------------------------------------------------------------------------

constexpr std::array<pipe_enum, 3> tcp_branches{PIPE_TRANSFORMER, PIPE_STREAM_VID_ENC,
                                                PIPE_AUDIO_ENC};
// Video only, whatever the encoding type.
constexpr std::array<pipe_enum, 2> http_branches{PIPE_TRANSFORMER, PIPE_STREAM_VID_ENC};

constexpr std::array stream_pipes = std::to_array<pipe_row>({
    {
        .number = PIPE_TCP_STREAM,
        .short_name = "tcp-stream",
        .pipeline_name = "stream-pipe",
        .purpose = "the TCP stream",
        .chain = {.elements = tcp_elements,
                  .properties = tcp_properties,
                  .create_failed = TCP_CREATE_FAILED,
                  .link_failed = TCP_LINK_FAILED},
        .creating = "Creating stream pipeline.. ",
        .branches = tcp_branches,
        .muxer = "tcp-mux",
        .inputs = tcp_inputs,
    },
    {
        .number = PIPE_HTTP_STREAM,
        .short_name = "http_stream",
        .pipeline_name = "http-stream-pipe",
        .purpose = "the HTTP push",
        .chain = {.elements = http_elements,
                  .properties = http_properties,
                  .create_failed =
                      "One element could not be created in the http stream pipe, basic.",
                  .link_failed = "Failed to link elements in the http streaming pipe"},
        .creating = "Creating http stream pipeline.. ",
        .branches = http_branches,
        // If the server goes away or refuses, the push restarts.
        .restarted_by = "http-sink",
        .failure = failure_kind::http,
    },
});

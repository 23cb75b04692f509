// The network streams: an MPEG transport stream served over TCP, and H.264 pushed over HTTP.
#include "video/streams.h"

#include "video/muxed_output.h"
#include "video/pipe_slots.h"
#include "video/transport.h"

namespace {

constexpr std::array stream_branches{VIDEO_TRANSFORMER, STREAM_VID_ENC, AUDIO_ENC};
constexpr std::array stream_video_branches{VIDEO_TRANSFORMER, STREAM_VID_ENC};
constexpr std::array stream_audio_branches{AUDIO_ENC};

// --- TCP: muxer and server; argument 0 is the port -------------------------------------------

constexpr const char* TCP_CREATE_FAILED = "One element could not be created in the stream pipe.";
constexpr const char* TCP_LINK_FAILED = "Failed to link elements in the streaming pipe";
constexpr int CLIENT_TIMEOUT_NS = 2'000'000'000;
constexpr int CLIENT_BUFFERS = 63; // what a slow client may lag behind

constexpr std::array tcp_elements = std::to_array<element_row>({
    {"mpegtsmux", "tcp-mux"},
    {"tcpserversink", "tcp-sink"},
});

constexpr std::array tcp_properties = std::to_array<property_row>({
    {"tcp-sink", "host", "0.0.0.0"},
    {"tcp-sink", "port", argument{0}},
    {"tcp-sink", "buffers-soft-max", CLIENT_BUFFERS},
    {"tcp-sink", "timeout", CLIENT_TIMEOUT_NS},
});

constexpr pipe_table tcp_table{
    .elements = tcp_elements,
    .creation = {},
    .properties = tcp_properties,
    .create_failed = TCP_CREATE_FAILED,
    .link_failed = TCP_LINK_FAILED,
    .creating = "Creating stream pipeline.. ",
};
static_assert(pipe_table_is_sound(tcp_table));

// --- TCP: inputs; what is late is dropped before the muxer -----------------------------------

constexpr std::array tcp_video_elements = std::to_array<element_row>({
    {"interpipesrc", "tcp-vid-ipsrc"},
    {"queue", "tcp-vid-queue"},
});

constexpr std::array tcp_video_properties =
    join_rows(listens_to("tcp-vid-ipsrc", STREAM_VID_ENC_SINK, STREAM_SYNC_PASS_THROUGH),
              std::to_array<property_row>({
                  {"tcp-vid-queue", "leaky", LEAKY_DOWNSTREAM},
                  {"tcp-vid-queue", "max-size-buffers", 1},
              }));

constexpr std::array tcp_audio_elements = std::to_array<element_row>({
    {"interpipesrc", "tcp-aud-ipsrc"},
    {"queue", "tcp-aud-queue"},
});

constexpr std::array tcp_audio_properties =
    join_rows(listens_to("tcp-aud-ipsrc", AUD_ENC_SINK, STREAM_SYNC_PASS_THROUGH),
              std::to_array<property_row>({
                  {"tcp-aud-queue", "leaky", LEAKY_DOWNSTREAM},
                  {"tcp-aud-queue", "max-size-buffers", 1},
              }));

constexpr std::array tcp_inputs = std::to_array<muxer_input>({
    {ENC_TYPE_AUDIO,
     {tcp_video_elements, {}, tcp_video_properties, TCP_CREATE_FAILED, TCP_LINK_FAILED},
     nullptr,
     "sink_%d",
     "Failed to link video pad of the stream mux.\n"},
    {ENC_TYPE_VIDEO,
     {tcp_audio_elements, {}, tcp_audio_properties, TCP_CREATE_FAILED, TCP_LINK_FAILED},
     nullptr,
     "sink_%d",
     "Failed to link audio pad of the stream mux.\n"},
});
static_assert(pipe_table_is_sound(tcp_inputs[0].chain) && pipe_table_is_sound(tcp_inputs[1].chain));

constexpr muxed_output tcp_pipe{tcp_table, "tcp-mux", tcp_inputs};

int make_stream(GstElement* pipeline, int enc_type, pipe_argument port) {
    return build_muxed_output(pipeline, tcp_pipe, enc_type, port);
}

bus_handle create_media_pipe_stream(int pipe, int enc_type, pipe_argument port) {
    return start_pipe(pipe, [enc_type, port](GstElement* pipeline) {
        return make_stream(pipeline, enc_type, port);
    });
}

constexpr media_output tcp_output{
    PIPE_TCP_STREAM,
    create_media_pipe_stream,
    {stream_branches, stream_video_branches, stream_audio_branches},
};

// --- HTTP; argument 0 is the URL -------------------------------------------------------------

constexpr std::array http_elements = std::to_array<element_row>({
    {"interpipesrc", "http-vid-src"},
    {"curlhttpsink", "http-sink"},
});

constexpr std::array http_properties =
    join_rows(listens_to("http-vid-src", STREAM_VID_ENC_SINK, STREAM_SYNC_PASS_THROUGH),
              std::to_array<property_row>({
                  {"http-sink", "location", argument{0}},
              }));

constexpr pipe_table http_table{
    .elements = http_elements,
    .creation = {},
    .properties = http_properties,
    .create_failed = "One element could not be created in the http stream pipe, basic.",
    .link_failed = "Failed to link elements in the http streaming pipe",
    .creating = "Creating http stream pipeline.. ",
};
static_assert(pipe_table_is_sound(http_table));

int make_http_stream(GstElement* pipeline, pipe_argument url) {
    return build_pipe(pipeline, http_table, std::array{url});
}

bus_handle create_media_pipe_http_stream(int pipe, int /*enc_type*/, pipe_argument url) {
    return start_pipe(pipe,
                      [url](GstElement* pipeline) { return make_http_stream(pipeline, url); });
}

// Video whatever else is encoded; there is no such stream of sound alone.
constexpr media_output http_output{
    PIPE_HTTP_STREAM,
    create_media_pipe_http_stream,
    {stream_video_branches, stream_video_branches, {}},
};

} // namespace

std::optional<bus_list> gstvideo_start_stream(int port) {
    return start_media_output(tcp_output, port);
}

int gstvideo_stop_stream() {
    return stop_media_output(PIPE_TCP_STREAM);
}

std::optional<bus_list> gstvideo_start_http_stream(const char* url) {
    return start_media_output(http_output, url);
}

int gstvideo_stop_http_stream() {
    return stop_media_output(PIPE_HTTP_STREAM);
}

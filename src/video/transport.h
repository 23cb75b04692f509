// Names and numbers that connected pipes share: names of published streams, and enumeration values
// of the board's elements.
#pragma once

#include "video/pipe_table.h"

// Element factories that connect pipes.
inline constexpr const char* INTER_PIPE_SINK = "interpipesink";
inline constexpr const char* INTER_PIPE_SOURCE = "interpipesrc";

// Names of the inter-pipe sinks, for "listen-to".
inline constexpr const char* VIDEO_SRC_SINK = "vid-src-ipsink";
inline constexpr const char* VID_XFORM_SINK = "vid-xform-ipsink";
inline constexpr const char* REC_VID_ENC_SINK = "rec-vid-enc-ipsink";
inline constexpr const char* STREAM_VID_ENC_SINK = "stream-vid-enc-ipsink";
inline constexpr const char* AUD_ENC_SINK = "aud-enc-ipsink";

inline constexpr int LEAKY_DOWNSTREAM = 2; // queue, appsrc: drop the oldest buffers when full
inline constexpr int STREAM_SYNC_PASS_THROUGH = 0; // interpipesrc: time stamps unchanged
inline constexpr int STREAM_SYNC_COMPENSATE = 1;   // interpipesrc: convert between base times
inline constexpr int FORMAT_TIME = 3;              // GST_FORMAT_TIME
inline constexpr int NO_LIMIT = 0; // appsink: of "max-buffers"; appsrc: of "max-bytes"

// Properties of an inter-pipe source that follows a published stream, including format changes.
constexpr std::array<property_row, 5> listens_to(std::string_view source, const char* sink,
                                                 int stream_sync) {
    return {{
        {.element = source, .property = "listen-to", .value = sink},
        {.element = source, .property = "allow-renegotiation", .value = true},
        {.element = source, .property = "stream-sync", .value = stream_sync},
        {.element = source, .property = "format", .value = FORMAT_TIME},
        {.element = source, .property = "is-live", .value = true},
    }};
}

// Properties of a queue that keeps only the newest buffer.
constexpr std::array<property_row, 2> holds_newest(std::string_view queue) {
    return {{
        {.element = queue, .property = "leaky", .value = LEAKY_DOWNSTREAM},
        {.element = queue, .property = "max-size-buffers", .value = 1},
    }};
}

// Properties of an inter-pipe source for raw pictures: a paused or slow pipe drops the oldest
// instead of queueing without limit. Needs GStreamer 1.20.
constexpr std::array<property_row, 3> holds_few_pictures(std::string_view source) {
    return {{
        {.element = source,
         .property = "leaky-type",
         .value = LEAKY_DOWNSTREAM,
         .is_optional = true},
        {.element = source, .property = "max-bytes", .value = NO_LIMIT, .is_optional = true},
        {.element = source, .property = "max-buffers", .value = 3, .is_optional = true},
    }};
}

// Property of a sink that follows a live source without queues in between: the source reports a
// latency of 0, so the sink would warn that its own deadline doesn't fit.
constexpr std::array<property_row, 1> in_time(std::string_view sink) {
    return {{
        {.element = sink, .property = "processing-deadline", .value = 0, .is_optional = true},
    }};
}

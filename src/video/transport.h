// What the pipes that are joined to one another agree on: under which names streams are published,
// and the plain numbers that the board's elements take.
#pragma once

#include "video/pipe_builder.h"

// Names of the inter-pipe sinks, for "listen-to".
inline constexpr const char* VIDEO_SRC_SINK = "vid-src-ipsink";
inline constexpr const char* VID_XFORM_SINK = "vid-xform-ipsink";
inline constexpr const char* REC_VID_ENC_SINK = "rec-vid-enc-ipsink";
inline constexpr const char* STREAM_VID_ENC_SINK = "stream-vid-enc-ipsink";
inline constexpr const char* AUD_ENC_SINK = "aud-enc-ipsink";

inline constexpr int LEAKY_DOWNSTREAM = 2;         // queue: drop the oldest buffers when full
inline constexpr int STREAM_SYNC_PASS_THROUGH = 0; // interpipesrc: stamps as they are
inline constexpr int STREAM_SYNC_COMPENSATE = 1;   // interpipesrc: convert between base times
inline constexpr int FORMAT_TIME = 3;              // GST_FORMAT_TIME

// The rows of an inter-pipe source that hears a published stream, format changes included.
constexpr std::array<property_row, 5> listens_to(std::string_view source, const char* sink,
                                                 int stream_sync) {
    return {{
        {source, "listen-to", sink},
        {source, "allow-renegotiation", true},
        {source, "stream-sync", stream_sync},
        {source, "format", FORMAT_TIME},
        {source, "is-live", true},
    }};
}

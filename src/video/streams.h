// The network streams: an MPEG transport stream served over TCP, and H.264 pushed over HTTP.
#pragma once

#include "video/media_branches.h"

// Serves the stream on that port of every interface. The pipes involved, to be registered by the
// caller; none when it can't start. A stream that runs goes on as it is.
[[nodiscard]] std::optional<bus_list> gstvideo_start_stream(int port);

// Ends the TCP stream when there is one. 0; -1 for an unknown encoding type.
[[nodiscard]] int gstvideo_stop_stream();

// Pushes to the URL, again and again while the server is not there. As gstvideo_start_stream; none
// also when only sound is encoded.
[[nodiscard]] std::optional<bus_list> gstvideo_start_http_stream(const char* url);

// Ends the HTTP stream when there is one. 0; -1 for an unknown encoding type.
[[nodiscard]] int gstvideo_stop_http_stream();

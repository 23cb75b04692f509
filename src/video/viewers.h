// Limits the viewers of a network stream.
#pragma once

#include <gst/gst.h>

// Limits the server sink to that many clients. Further clients are removed when they connect; a
// warning on the bus reports that once until a place is free.
void limit_viewers(GstElement* server_sink, unsigned int viewers_max);

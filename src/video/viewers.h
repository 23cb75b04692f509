// Viewers of a network stream, as many as the sight can serve.
#pragma once

#include <gst/gst.h>

// Has the server sink keep that many clients: further ones are removed as they come, of which a
// warning on the bus tells once until a place is free.
void limit_viewers(GstElement* server_sink, unsigned int viewers_max);

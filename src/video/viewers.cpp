// Limits the viewers of a network stream.
#include "video/viewers.h"

#include "util/gst_owned.h"

#include <atomic>

namespace {

struct viewer_limit {
    unsigned int viewers_max;
    std::atomic<bool> is_told = false;
};

void release(gpointer limit, GClosure* /*closure*/) {
    const std::unique_ptr<viewer_limit> owned{static_cast<viewer_limit*>(limit)};
}

unsigned int viewers_of(GstElement* sink) {
    unsigned int viewers = 0;
    g_object_get(sink, "num-handles", &viewers, nullptr);
    return viewers;
}

// Runs on the server's thread, which may only post to the bus.
void on_client_added(GstElement* sink, GObject* socket, viewer_limit* limit) {
    if (viewers_of(sink) <= limit->viewers_max) {
        return;
    }
    g_signal_emit_by_name(sink, "remove", socket);
    if (!limit->is_told.exchange(true)) {
        GST_ELEMENT_WARNING(sink, RESOURCE, BUSY,
                            ("There are %u viewers, further ones are refused", limit->viewers_max),
                            (nullptr));
    }
}

void on_client_removed(GstElement* sink, GObject* /*socket*/, int /*status*/, viewer_limit* limit) {
    if (viewers_of(sink) < limit->viewers_max) {
        limit->is_told = false;
    }
}

} // namespace

void limit_viewers(GstElement* server_sink, unsigned int viewers_max) {
    std::unique_ptr<viewer_limit> limit{new viewer_limit{viewers_max}};
    g_signal_connect(server_sink, "client-removed", G_CALLBACK(on_client_removed), limit.get());
    g_signal_connect_data(server_sink, "client-added", G_CALLBACK(on_client_added), limit.release(),
                          release, GConnectFlags{});
}

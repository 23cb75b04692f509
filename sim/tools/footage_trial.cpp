// Checks whether the simulated camera can play a video: decodes its first picture.
#include "util/gst_owned.h"

#include <cstdio>
#include <gst/gst.h>
#include <string>

namespace {

// Time limit for the first picture.
constexpr GstClockTime PATIENCE = 20 * GST_SECOND;

// Waits for the first picture. Returns the error, or an empty text.
std::string why_not(GstElement* player) {
    gst_element_set_state(player, GST_STATE_PAUSED);
    const gst_owned<GstBus> bus(gst_element_get_bus(player));
    const gst_owned<GstMessage> told(gst_bus_timed_pop_filtered(
        bus.get(), PATIENCE,
        static_cast<GstMessageType>(GST_MESSAGE_ASYNC_DONE | GST_MESSAGE_ERROR)));
    if (!told) {
        return "it has no picture";
    }
    if (GST_MESSAGE_TYPE(told.get()) != GST_MESSAGE_ERROR) {
        return {};
    }
    GError* problem = nullptr;
    gst_message_parse_error(told.get(), &problem, nullptr);
    return g_error_owned(problem)->message;
}

} // namespace

int main(int argc, char* argv[]) {
    gst_init(&argc, &argv);
    if (argc != 2) {
        std::fputs("usage: vtrdc-sim-footage-trial FILE\n", stderr);
        return 2;
    }
    const gst_owned<GstElement> player(own_floating(gst_parse_launch(
        "filesrc name=file ! decodebin ! videoconvert ! video/x-raw, format=GRAY8 ! fakesink",
        nullptr)));
    const gst_owned<GstElement> file(gst_bin_get_by_name(GST_BIN(player.get()), "file"));
    g_object_set(file.get(), "location", argv[1], nullptr);
    const std::string why = why_not(player.get());
    gst_element_set_state(player.get(), GST_STATE_NULL);
    if (!why.empty()) {
        std::fprintf(stderr, "%s\n", why.c_str());
        return 1;
    }
    return 0;
}

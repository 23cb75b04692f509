// Streams through the overlay and calls exit(1) on the main thread after a given time, whatever the
// streaming and scene threads are doing. Saves the scene file now and then.
#include "support/stand_ins.h"

#include <array>
#include <cstdlib>
#include <fstream>
#include <gst/gst.h>
#include <poll.h>

int main(int argc, char* argv[]) {
    if (argc != 3) {
        return 2;
    }
    init_with_stand_ins();
    GstElement* const pipeline = gst_parse_launch(
        "videotestsrc is-live=true ! video/x-raw, format=RGBA, width=1024, height=768, "
        "framerate=60/1 ! queue ! qtoverlay name=overlay ! queue ! fakesink",
        nullptr);
    if (pipeline == nullptr) {
        return 3;
    }
    GstElement* const overlay = gst_bin_get_by_name(GST_BIN(pipeline), "overlay");
    g_object_set(overlay, "qml", argv[1], nullptr);
    gst_element_set_state(pipeline, GST_STATE_PLAYING);
    const int delay_ms = std::atoi(argv[2]);
    // Updates keep the scene busy until the end.
    for (int passed_ms = 0; passed_ms <= delay_ms; passed_ms += 10) {
        const std::array<const char*, 2> updates{
            "ReticleMenu.retProfParam:{\"X\": 100,\"Y\": 100}",
            "ReticleMenu.retProfParam:{\"COLOR_HEX\": \"#ffffff\"}",
        };
        g_object_set(overlay, "qml-attribute",
                     updates.at(static_cast<std::size_t>(passed_ms / 10) % 2), nullptr);
        if (passed_ms % 150 == 0) {
            std::ofstream{argv[1], std::ios::app};
        }
        poll(nullptr, 0, 10);
    }
    std::exit(1);
}

// A board folder with scenes for the overlay element, and the frames with the overlay.
#pragma once

#include "gst_helpers.h"
#include "support/temp_folder.h"

#include <array>
#include <cstdlib>

// Red, 50 % green above it, and a drawing of the board addressed by its path on the sight.
inline constexpr const char* scene = R"(
import QtQuick
Item {
    width: 1024; height: 768
    objectName: "Root"
    property int side: 10
    Rectangle { x: 100; y: 50; width: parent.side; height: parent.side; color: "#ff0000" }
    Rectangle { x: 300; y: 50; width: 10; height: 10; color: "#8000ff00" }
    Image { x: 500; y: 50; source: "file:///drawings/blue.svg" }
    Item { objectName: "Menu"; property string text; onTextChanged: parent.side = parseInt(text) }
}
)";

inline constexpr const char* blue_drawing =
    "<svg xmlns='http://www.w3.org/2000/svg' width='10' "
    "height='10'><rect width='10' height='10' fill='#0000ff'/></svg>";

using rgb = std::array<int, 3>;

inline rgb pixel(const gst_owned<GstSample>& sample, int x, int y) {
    GstMapInfo map;
    EXPECT_TRUE(gst_buffer_map(gst_sample_get_buffer(sample.get()), &map, GST_MAP_READ));
    const guint8* const at =
        map.data +
        (std::size_t{1024} * static_cast<std::size_t>(y) + static_cast<std::size_t>(x)) * 4;
    const rgb result{at[0], at[1], at[2]};
    gst_buffer_unmap(gst_sample_get_buffer(sample.get()), &map);
    return result;
}

inline constexpr rgb white{255, 255, 255};
inline constexpr rgb red{255, 0, 0};
inline constexpr rgb blue{0, 0, 255};
inline constexpr rgb green{0, 128, 0}; // "green" in CSS

class OverlayTest : public GstTest {
protected:
    OverlayTest() {
        setenv("VTRDC_SYSROOT", folder_.path().c_str(), 1);
        folder_.write("var/log/overlay.log", "");
        folder_.write("drawings/blue.svg", blue_drawing);
    }
    ~OverlayTest() override { unsetenv("VTRDC_SYSROOT"); }

    // White frames under the scene in the file.
    [[nodiscard]] static std::string over_white(const std::string& file) {
        return "videotestsrc is-live=true pattern=white ! "
               "video/x-raw,format=RGBA,width=1024,height=768,framerate=30/1 ! "
               "qtoverlay name=overlay qml=" +
               file + " ! appsink name=out sync=false";
    }
    // Pulls frames until one has this colour there.
    static bool wait_for_pixel(const test_pipeline& pipeline, int x, int y, const rgb& colour) {
        for (int i = 0; i < 300; ++i) {
            const gst_owned<GstSample> sample = pipeline.pull();
            if (!sample || pixel(sample, x, y) == colour) {
                return sample != nullptr;
            }
        }
        return false;
    }

    // Like an editor: atomically replaces the file.
    void save(const std::string& name, const std::string& text) const {
        std::filesystem::rename(folder_.write(name + ".new", text), folder_.path() / name);
    }
    // Text of the next warning.
    static std::string next_warning(const test_pipeline& pipeline) {
        const gst_owned<GstMessage> message = pipeline.wait_for(GST_MESSAGE_WARNING);
        if (!message) {
            return "no warning";
        }
        GError* error = nullptr;
        gst_message_parse_warning(message.get(), &error, nullptr);
        const g_error_owned owned{error};
        return owned->message;
    }

    temp_folder folder_;
};

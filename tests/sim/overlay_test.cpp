// The overlay element with small scenes.
#include "overlay_fixture.h"

#include <algorithm>
#include <atomic>
#include <gmock/gmock.h>
#include <malloc.h>
#include <string_view>

using testing::HasSubstr;

namespace {

// Turns blue after about fifteen frames without changes.
constexpr const char* still_scene = R"(
import QtQuick
Rectangle {
    id: root
    width: 100; height: 100; color: "#ff0000"
    Timer { interval: 500; running: true; onTriggered: root.color = "#0000ff" }
}
)";

// Takes its colour from a file with a path as on the sight; scripts read files in another way than
// Qt.
constexpr const char* reading_scene = R"(
import QtQuick
Rectangle {
    id: root
    width: 100; height: 100; color: "#00ff00"
    Component.onCompleted: {
        const request = new XMLHttpRequest()
        request.onreadystatechange = () => {
            if (request.readyState === XMLHttpRequest.DONE)
                root.color = request.responseText
        }
        request.open("GET", "file:///drawings/colour.txt")
        request.send()
    }
}
)";

// Its picture has two megabytes, just small enough for Qt's cache by name.
constexpr const char* large_scene = R"(
import QtQuick
Image { width: 720; height: 720; sourceSize: Qt.size(720, 720); source: "file:///drawings/blue.svg" }
)";

std::atomic<int> pictures_rendered = 0;

void count_picture(GstDebugCategory* category, GstDebugLevel, const gchar*, const gchar*, gint,
                   GObject*, GstDebugMessage* message, gpointer) noexcept {
    if (std::string_view(gst_debug_category_get_name(category)) == "qtoverlay" &&
        std::string_view(gst_debug_message_get(message)) == "rendered") {
        ++pictures_rendered;
    }
}

TEST_F(OverlayTest, SceneIsBlendedOntoFrames) {
    test_pipeline pipeline{over_white(folder_.write("scene.qml", scene))};
    pipeline.play();
    ASSERT_TRUE(wait_for_pixel(pipeline, 505, 55, blue)); // found below the system root
    const gst_owned<GstSample> sample = pipeline.pull();
    EXPECT_EQ(pixel(sample, 100, 50), red);
    EXPECT_EQ(pixel(sample, 109, 59), red);
    EXPECT_EQ(pixel(sample, 99, 50), white);
    EXPECT_EQ(pixel(sample, 110, 59), white);
    const rgb half = pixel(sample, 305, 55);
    EXPECT_NEAR(half[0], 127, 2);
    EXPECT_EQ(half[1], 255);
    EXPECT_NEAR(half[2], 127, 2);
    EXPECT_EQ(pixel(sample, 1023, 767), white);
}

TEST_F(OverlayTest, AttributesChangeTheSceneInOrderAndAreLogged) {
    test_pipeline pipeline{over_white(folder_.write("scene.qml", scene))};
    // Before the scene can be loaded.
    set(pipeline["overlay"], "qml-attribute", "Menu.text:40");
    set(pipeline["overlay"], "qml-attribute", "Nobody.text:{\"A\": 1}");
    set(pipeline["overlay"], "qml-attribute", "Menu.text:20");
    pipeline.play();
    ASSERT_TRUE(wait_for_pixel(pipeline, 119, 69, red));
    EXPECT_EQ(pixel(pipeline.pull(), 121, 69), white);
    set(pipeline["overlay"], "qml-attribute", "Root.side:30");
    EXPECT_TRUE(wait_for_pixel(pipeline, 129, 79, red));
    EXPECT_EQ(read_text(folder_.path() / "var/log/overlay.log"),
              "Menu.text:40\nNobody.text:{\"A\": 1}\nMenu.text:20\nRoot.side:30\n");
}

TEST_F(OverlayTest, AttributesWaitForTheFirstScene) {
    test_pipeline pipeline{over_white("\"\"")};
    set(pipeline["overlay"], "qml-attribute", "Root.side:20");
    set(pipeline["overlay"], "qml-attribute", "Root.side:30");
    set(pipeline["overlay"], "qml", folder_.write("scene.qml", scene));
    pipeline.play();
    EXPECT_TRUE(wait_for_pixel(pipeline, 129, 79, red));
}

TEST_F(OverlayTest, ScriptsReadTheBoardsFiles) {
    folder_.write("drawings/colour.txt", "#0000ff");
    test_pipeline pipeline{over_white(folder_.write("scene.qml", reading_scene))};
    pipeline.play();
    EXPECT_TRUE(wait_for_pixel(pipeline, 50, 50, blue));
}

TEST_F(OverlayTest, NothingIsRenderedWhileNothingChanges) {
    test_pipeline pipeline{over_white(folder_.write("scene.qml", still_scene))};
    // Parentheses: macros of these names compare functions with objects.
    (gst_debug_remove_log_function)(nullptr); // the default one
    (gst_debug_add_log_function)(count_picture, nullptr, nullptr);
    gst_debug_set_active(TRUE);
    gst_debug_set_threshold_for_name("qtoverlay", GST_LEVEL_LOG);
    pipeline.play();
    ASSERT_TRUE(wait_for_pixel(pipeline, 50, 50, red));
    const int before = pictures_rendered;
    ASSERT_TRUE(wait_for_pixel(pipeline, 50, 50, blue));
    (gst_debug_remove_log_function)(count_picture);
    // One for the change, and perhaps one for Qt to settle.
    EXPECT_LE(pictures_rendered - before, 2);
}

TEST_F(OverlayTest, DisabledOverlayPassesFramesUnchanged) {
    test_pipeline pipeline{over_white(folder_.write("scene.qml", scene))};
    pipeline.play();
    ASSERT_TRUE(wait_for_pixel(pipeline, 105, 55, red));
    set(pipeline["overlay"], "disable", "true");
    EXPECT_TRUE(wait_for_pixel(pipeline, 105, 55, white));
    set(pipeline["overlay"], "disable", "false");
    EXPECT_TRUE(wait_for_pixel(pipeline, 105, 55, red));
}

TEST_F(OverlayTest, SceneThatCannotBeLoadedIsAWarningWithItsPlace) {
    const std::string broken = folder_.write("broken.qml", "import QtQuick\nItem {\n oops: }\n");
    for (const std::string& file : {broken, std::string{"/nonexistent/scene.qml"}}) {
        test_pipeline pipeline{over_white(file)};
        pipeline.play();
        EXPECT_THAT(next_warning(pipeline),
                    HasSubstr(file == broken ? "broken.qml:3" : "scene.qml"));
        EXPECT_EQ(pixel(pipeline.pull(), 105, 55), white);
    }
}

TEST_F(OverlayTest, ElementsComeAndGoWhileScenesLoad) {
    const std::string file = folder_.write("scene.qml", scene);
    for (int round = 0; round < 20; ++round) {
        test_pipeline pipeline{over_white(file)};
        pipeline.play();
        if (round % 4 == 0) {
            ASSERT_TRUE(pipeline.pull());
        }
    }
    test_pipeline last{over_white(file)};
    last.play();
    EXPECT_TRUE(wait_for_pixel(last, 105, 55, red));
}

#ifndef __SANITIZE_ADDRESS__
// Sanitizers have their own allocator, which mallinfo doesn't count.
TEST_F(OverlayTest, RemovedSceneLeaksNothing) {
    const auto held = [] {
        const struct mallinfo2 memory = mallinfo2();
        return memory.uordblks + memory.hblkhd;
    };
    const std::string file = folder_.write("scene.qml", large_scene);
    // One starts while the other is shown and outlives it, as the live view and the no-input
    // picture do.
    std::array<std::size_t, 20> with_two_scenes{};
    for (std::size_t& bytes : with_two_scenes) {
        test_pipeline second{over_white(file)};
        test_pipeline first{over_white(file)}; // destroyed first
        for (test_pipeline* const shown : {&first, &second}) {
            shown->play();
            ASSERT_TRUE(wait_for_pixel(*shown, 500, 500, blue));
        }
        bytes = held();
    }
    // Minimum of several: frames of three megabytes may be in flight.
    const auto middle = with_two_scenes.begin() + 10;
    EXPECT_LT(*std::min_element(middle, with_two_scenes.end()),
              *std::min_element(with_two_scenes.begin(), middle) + (std::size_t{5} << 20));
}
#endif

} // namespace

// The overlay element with small scenes of its own.
#include "gst_helpers.h"
#include "support/temp_folder.h"

#include <array>
#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <string_view>

using testing::HasSubstr;

namespace {

// Red, 50 % green above it, and a drawing taken from the board by its path on the sight.
constexpr const char* scene = R"(
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

constexpr const char* blue_drawing =
    "<svg xmlns='http://www.w3.org/2000/svg' width='10' "
    "height='10'><rect width='10' height='10' fill='#0000ff'/></svg>";

// Turns blue after the time of some fifteen frames in which nothing happens.
constexpr const char* still_scene = R"(
import QtQuick
Rectangle {
    id: root
    width: 100; height: 100; color: "#ff0000"
    Timer { interval: 500; running: true; onTriggered: root.color = "#0000ff" }
}
)";

// Takes its colour from a file named as on the sight; a script's reading goes its own way in Qt.
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

// Keeps what it is told in a bar and two lamps; a part and a drawing lie in files of their own.
constexpr const char* told_scene = R"(
import QtQuick
Item {
    width: 1024; height: 768
    Part { x: 500; y: 500 }
    Image { x: 600; y: 500; source: "drawings/blue.svg" }
    Rectangle { id: bar; y: 50; width: 0; height: 10; color: "#ff0000" }
    Repeater {
        id: lamps
        model: ["A", "B", "C_ALRT"]
        Rectangle { x: 100 * index; y: 100; width: 10; height: 10; color: "#ff0000"; opacity: 0 }
    }
    Item {
        objectName: "Menu"
        property string text
        onTextChanged: {
            const update = JSON.parse(text)
            bar.x = update.X ?? bar.x
            bar.width = update.WIDTH ?? bar.width
            if (update.KEY !== undefined)
                lamps.itemAt(lamps.model.indexOf(update.KEY)).opacity = update.VAL
        }
    }
}
)";

// A square of this colour.
std::string part(const std::string& colour) {
    return "import QtQuick\nRectangle { width: 10; height: 10; color: '" + colour + "' }\n";
}

// Red, with a picture above it that may be missing.
constexpr const char* scene_with_picture = R"(
import QtQuick
Rectangle {
    width: 10; height: 10; color: "red"
    Image { source: "pictures/blue.svg" }
}
)";

std::atomic<int> pictures_rendered = 0;

void count_picture(GstDebugCategory* category, GstDebugLevel, const gchar*, const gchar*, gint,
                   GObject*, GstDebugMessage* message, gpointer) noexcept {
    if (std::string_view(gst_debug_category_get_name(category)) == "qtoverlay" &&
        std::string_view(gst_debug_message_get(message)) == "rendered") {
        ++pictures_rendered;
    }
}

using rgb = std::array<int, 3>;

rgb pixel(const gst_owned<GstSample>& sample, int x, int y) {
    GstMapInfo map;
    EXPECT_TRUE(gst_buffer_map(gst_sample_get_buffer(sample.get()), &map, GST_MAP_READ));
    const guint8* const at =
        map.data +
        (std::size_t{1024} * static_cast<std::size_t>(y) + static_cast<std::size_t>(x)) * 4;
    const rgb result{at[0], at[1], at[2]};
    gst_buffer_unmap(gst_sample_get_buffer(sample.get()), &map);
    return result;
}

constexpr rgb white{255, 255, 255};
constexpr rgb red{255, 0, 0};
constexpr rgb blue{0, 0, 255};
constexpr rgb green{0, 128, 0}; // as it is called

// What becomes of a scene's folder, for the scene board/qml/main.qml.
struct folder_change {
    const char* name;
    void (*before)(const temp_folder&); // makes a red scene, or none
    void (*first)(const temp_folder&);  // leaves no scene to be shown; may be missing
    void (*last)(const temp_folder&);   // makes the scene blue
};

void PrintTo(const folder_change& change, std::ostream* stream) {
    *stream << change.name;
}

void write_scene(const temp_folder& in, const std::string& folder, const std::string& colour) {
    in.write(folder + "/main.qml", part(colour));
}
void move(const temp_folder& in, const char* from, const char* to) {
    std::filesystem::rename(in.path() / from, in.path() / to);
}
void link(const temp_folder& in, const char* target, const char* name) {
    std::filesystem::create_directories((in.path() / name).parent_path());
    std::filesystem::remove(in.path() / name);
    std::filesystem::create_symlink(target, in.path() / name);
}
void write_red(const temp_folder& in) {
    write_scene(in, "board/qml", "red");
}
void write_blue(const temp_folder& in) {
    write_scene(in, "board/qml", "blue");
}
void link_red(const temp_folder& in) {
    write_scene(in, "one", "red");
    link(in, "../../one/main.qml", "board/qml/main.qml");
}

constexpr std::array folder_changes{
    folder_change{"AwayForAWhile", write_red,
                  [](const temp_folder& in) { move(in, "board/qml", "away"); },
                  [](const temp_folder& in) {
                      write_scene(in, "away", "blue");
                      move(in, "away", "board/qml");
                  }},
    folder_change{"RemovedWithItsParentAndMadeAnew", write_red,
                  [](const temp_folder& in) { std::filesystem::remove_all(in.path() / "board"); },
                  write_blue},
    folder_change{"MissingWithItsParentAtFirst", [](const temp_folder&) {}, nullptr, write_blue},
    folder_change{"AnotherTakesItsPlace", write_red, nullptr,
                  [](const temp_folder& in) {
                      write_scene(in, "board/qml.new", "blue");
                      move(in, "board/qml", "board/qml.old");
                      move(in, "board/qml.new", "board/qml");
                  }},
    folder_change{"AnotherTakesItsParentsPlace", write_red, nullptr,
                  [](const temp_folder& in) {
                      write_scene(in, "board.new/qml", "blue");
                      move(in, "board", "board.old");
                      move(in, "board.new", "board");
                  }},
    folder_change{"LinkIsTurnedToAnother",
                  [](const temp_folder& in) {
                      write_scene(in, "one", "red");
                      link(in, "../one", "board/qml");
                  },
                  nullptr,
                  [](const temp_folder& in) {
                      write_scene(in, "two", "blue");
                      link(in, "../two", "board/qml");
                  }},
    folder_change{
        "SceneIsALinkThatIsMadeAnew", link_red,
        [](const temp_folder& in) { std::filesystem::remove(in.path() / "board/qml/main.qml"); },
        [](const temp_folder& in) {
            write_scene(in, "two", "blue");
            link(in, "../../two/main.qml", "board/qml/main.qml");
        }},
    folder_change{"SceneIsALinkIntoOneThatAnotherReplaces", link_red, nullptr,
                  [](const temp_folder& in) {
                      write_scene(in, "two", "blue");
                      move(in, "one", "old");
                      move(in, "two", "one");
                  }},
    folder_change{"SceneIsALinkWhoseTargetIsWrittenLater",
                  [](const temp_folder& in) {
                      std::filesystem::create_directory(in.path() / "two");
                      link(in, "../../two/main.qml", "board/qml/main.qml");
                  },
                  nullptr, [](const temp_folder& in) { write_scene(in, "two", "blue"); }},
    folder_change{
        "AFolderIsMadeInIt",
        [](const temp_folder& in) { in.write("board/qml/main.qml", scene_with_picture); }, nullptr,
        [](const temp_folder& in) { in.write("board/qml/pictures/blue.svg", blue_drawing); }},
};

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

    // As editors do: the new text takes the place of the old one whole.
    void save(const std::string& name, const std::string& text) const {
        std::filesystem::rename(folder_.write(name + ".new", text), folder_.path() / name);
    }
    // The text of the next warning.
    static std::string next_warning(const test_pipeline& pipeline) {
        const gst_owned<GstMessage> message = pipeline.wait_for(GST_MESSAGE_WARNING);
        if (!message) {
            return "no warning";
        }
        GError* error = nullptr;
        gst_message_parse_warning(message.get(), &error, nullptr);
        return g_error_owned {
            error
            } -> message;
    }

    temp_folder folder_;
};

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

TEST_F(OverlayTest, AttributesChangeTheSceneInOrderAndAreWrittenDown) {
    test_pipeline pipeline{over_white(folder_.write("scene.qml", scene))};
    // Before the scene can have been loaded.
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
    gst_debug_remove_log_function(gst_debug_log_default);
    gst_debug_add_log_function(count_picture, nullptr, nullptr);
    gst_debug_set_active(TRUE);
    gst_debug_set_threshold_for_name("qtoverlay", GST_LEVEL_LOG);
    pipeline.play();
    ASSERT_TRUE(wait_for_pixel(pipeline, 50, 50, red));
    const int before = pictures_rendered;
    ASSERT_TRUE(wait_for_pixel(pipeline, 50, 50, blue));
    gst_debug_remove_log_function(count_picture);
    // One for the change, one that Qt may have had to settle after the first.
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

TEST_F(OverlayTest, EditedSceneIsBroughtToThePresentState) {
    save("Part.qml", part("#ff0000"));
    test_pipeline pipeline{over_white(folder_.write("scene.qml", told_scene))};
    for (const char* update : {R"({"X": 300})", R"({"WIDTH": 20})", R"({"KEY": "A", "VAL": 1})",
                               R"({"X": 400})", R"({"KEY": "B", "VAL": 0.1})",
                               R"({"KEY": "B", "VAL": 1})", R"({"KEY": "C_ALRT", "VAL": 1})"}) {
        set(pipeline["overlay"], "qml-attribute", std::string{"Menu.text:"} + update);
    }
    pipeline.play();
    ASSERT_TRUE(wait_for_pixel(pipeline, 205, 105, red)); // the alert
    ASSERT_TRUE(wait_for_pixel(pipeline, 605, 505, blue));

    save("Part.qml", part("#0000ff"));
    ASSERT_TRUE(wait_for_pixel(pipeline, 505, 505, blue));
    const gst_owned<GstSample> sample = pipeline.pull();
    EXPECT_EQ(pixel(sample, 399, 55), white);
    EXPECT_EQ(pixel(sample, 400, 55), red);
    EXPECT_EQ(pixel(sample, 419, 55), red);
    EXPECT_EQ(pixel(sample, 5, 105), red);
    EXPECT_EQ(pixel(sample, 105, 105), red);
    EXPECT_EQ(pixel(sample, 205, 105), white) << "the alert is over";

    // Written in place, in the folder beside the scene; pictures are kept by their name in Qt.
    std::string drawing{blue_drawing};
    folder_.write("drawings/blue.svg", drawing.replace(drawing.find("0000ff"), 6, "ff0000"));
    EXPECT_TRUE(wait_for_pixel(pipeline, 605, 505, red));
}

TEST_F(OverlayTest, BrokenSceneRecoversWithItsNextGoodText) {
    test_pipeline pipeline{over_white(folder_.write("scene.qml", scene))};
    pipeline.play();
    ASSERT_TRUE(wait_for_pixel(pipeline, 105, 55, red));
    save("scene.qml", "import QtQuick\nItem {\n oops: }\n");
    EXPECT_THAT(next_warning(pipeline), HasSubstr("scene.qml:3"));
    EXPECT_TRUE(wait_for_pixel(pipeline, 105, 55, white));
    set(pipeline["overlay"], "qml-attribute", "Root.side:30");
    save("scene.qml", scene);
    EXPECT_TRUE(wait_for_pixel(pipeline, 129, 79, red));
}

TEST_F(OverlayTest, SceneThatIsALinkIsWatchedWhereItLies) {
    save("own/scene.qml", part("#ff0000"));
    std::filesystem::create_directory(folder_.path() / "qml");
    const std::string link = folder_.path() / "qml/scene.qml";
    std::filesystem::create_symlink("../own/scene.qml", link);
    test_pipeline pipeline{over_white(link)};
    pipeline.play();
    ASSERT_TRUE(wait_for_pixel(pipeline, 5, 5, red));
    save("own/scene.qml", part("#0000ff"));
    EXPECT_TRUE(wait_for_pixel(pipeline, 5, 5, blue));
}

class OverlayFolderTest : public OverlayTest, public testing::WithParamInterface<folder_change> {};

TEST_P(OverlayFolderTest, SceneIsFollowed) {
    const folder_change& change = GetParam();
    change.before(folder_);
    const std::string file = folder_.path() / "board/qml/main.qml";
    test_pipeline pipeline{over_white(file)};
    pipeline.play();
    if (std::filesystem::exists(file)) {
        ASSERT_TRUE(wait_for_pixel(pipeline, 5, 5, red));
    } else {
        ASSERT_THAT(next_warning(pipeline), HasSubstr("main.qml"));
    }
    if (change.first != nullptr) {
        change.first(folder_);
        EXPECT_TRUE(wait_for_pixel(pipeline, 5, 5, white));
    }
    change.last(folder_);
    EXPECT_TRUE(wait_for_pixel(pipeline, 5, 5, blue));
    write_scene(folder_, "board/qml", "green");
    EXPECT_TRUE(wait_for_pixel(pipeline, 5, 5, green)) << "edited afterwards";
}

INSTANTIATE_TEST_SUITE_P(Changes, OverlayFolderTest, testing::ValuesIn(folder_changes),
                         [](const auto& tested) { return std::string{tested.param.name}; });

TEST_F(OverlayTest, SceneThatIsReadHalfWrittenIsReadAgain) {
    test_pipeline pipeline{over_white(folder_.write("scene.qml", part("red")))};
    pipeline.play();
    ASSERT_TRUE(wait_for_pixel(pipeline, 5, 5, red));
    const std::string text = part("blue");
    std::ofstream file(folder_.path() / "scene.qml");
    file << text.substr(0, text.size() / 2) << std::flush;
    folder_.write("Other.qml", part("red"));
    ASSERT_TRUE(wait_for_pixel(pipeline, 5, 5, white));
    file << text.substr(text.size() / 2);
    file.close();
    EXPECT_TRUE(wait_for_pixel(pipeline, 5, 5, blue));
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

} // namespace

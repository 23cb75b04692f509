// The overlay's scene follows its files: edited, replaced, linked, missing for a while.
#include "overlay_fixture.h"

#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>

using testing::HasSubstr;

namespace {

// Shows updates in a bar and two lamps; uses a component and a drawing in other files.
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

// Changes to the folder of the scene board/qml/main.qml.
struct folder_change {
    const char* name;
    void (*before)(const temp_folder&); // makes a red scene, or none
    void (*first)(const temp_folder&);  // removes the scene; may be null
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

TEST_F(OverlayTest, EditedSceneGetsThePresentState) {
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

    // Overwritten in place, beside the scene; Qt caches pictures by name.
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

TEST_F(OverlayTest, LinkedSceneIsWatchedAtItsTarget) {
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

TEST_F(OverlayTest, HalfWrittenSceneIsReadAgain) {
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

} // namespace

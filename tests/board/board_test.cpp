// The board folder's layout, its tools, and the keeper of the buttons' FIFO.
#include "keeper.h"

#include "support/daemon.h"
#include "support/file_watch.h"
#include "support/media.h"

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <future>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iterator>
#include <map>
#include <set>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

int vtrcore(const board& board, const std::string& arguments) {
    const std::string command = "VTRDC_SYSROOT=" + board.at("/").parent_path().string() + " " +
                                board.at("/usr/bin/vtrcore").string() + " " + arguments +
                                " 2>/dev/null";
    return WEXITSTATUS(std::system(command.c_str()));
}

TEST(BoardFolder, LayoutKeepsWhatIsThere) {
    const board board;
    std::ofstream{board.at("/opt/okr/osd_okr/qml/main.qml")} << "my own scene";
    std::ofstream{board.at("/usr/bin/vtrcore")} << "my own tool";
    fs::remove(board.at("/etc/no-video-input.png"));
    EXPECT_EQ(board.sim({"layout"}), 0);
    EXPECT_EQ(read_text(board.at("/opt/okr/osd_okr/qml/main.qml")), "my own scene");
    EXPECT_EQ(read_text(board.at("/usr/bin/vtrcore")), "my own tool");
    EXPECT_TRUE(fs::exists(board.at("/etc/no-video-input.png")));
    EXPECT_FALSE(fs::exists(board.at("/etc/vtrdc.conf")));
    EXPECT_EQ(fs::file_size(board.at("/dev/fb0")), 1024U * 768U * 4U);
}

TEST(BoardFolder, PathThatIsTooLongForTheSocketIsRefused) {
    const board board;
    EXPECT_EQ(board.sim({"layout", "--board", "/tmp/" + std::string(100, 'x')}), 2);
    EXPECT_FALSE(fs::exists("/tmp/" + std::string(100, 'x')));
}

TEST(BoardFolder, CablesAndInvalidArguments) {
    const board board;
    const fs::path own = board.at("/own.avi");
    std::ofstream{own} << "own footage";
    fs::remove(board.at("/dev/video0"));
    fs::create_symlink(own, board.at("/dev/video0"));
    EXPECT_EQ(board.sim({"camera", "off"}), 0);
    EXPECT_EQ(board.sim({"camera", "off"}), 0);
    EXPECT_FALSE(fs::exists(board.at("/dev/video0")));
    EXPECT_EQ(board.sim({"layout"}), 0);
    EXPECT_FALSE(fs::exists(board.at("/dev/video0"))); // still unplugged
    EXPECT_EQ(board.sim({"camera", "on"}), 0);
    EXPECT_EQ(board.sim({"camera", "on"}), 0);
    EXPECT_EQ(fs::read_symlink(board.at("/dev/video0")), own);

    const fs::path cable = board.at("/sys/devices/soc0/soc/20e0000.hdmi_video/cable_state");
    EXPECT_EQ(board.sim({"hdmi", "on"}), 0);
    EXPECT_TRUE(fs::exists(cable));
    EXPECT_EQ(board.sim({"hdmi", "off"}), 0);
    EXPECT_FALSE(fs::exists(cable));

    for (const std::vector<std::string>& words :
         std::vector<std::vector<std::string>>{{"camera"},
                                               {"camera", "sideways"},
                                               {"hdmi", "2"},
                                               {"core", "rest"},
                                               {"press", "fire"},
                                               {"dance"},
                                               {"shot"},
                                               {"--nonsense"}}) {
        EXPECT_EQ(board.sim(words), 2) << words.back();
    }
    EXPECT_EQ(board.sim({"press", "zoom"}), 1); // no daemon runs
}

TEST(BoardInBackground, StartsReportsStatusAndStops) {
    const board board;
    const std::string shot = board.at("/tmp/shot.png");
    EXPECT_EQ(board.sim({"status"}), 1);
    EXPECT_EQ(board.sim({"stop"}), 1);
    EXPECT_EQ(board.sim({"shot", shot}), 1);
    for (int starts = 0; starts < 7; ++starts) {
        ASSERT_EQ(board.sim({"restart", "--no-build", "--headless"}), 0);
    }
    ASSERT_TRUE(board.wait_for_frames(5));
    EXPECT_EQ(board.sim({"start", "--no-build", "--headless"}), 1) << "it runs already";
    EXPECT_EQ(board.sim({"status"}), 0);
    EXPECT_EQ(board.sim({"shot", shot}), 0);
    EXPECT_EQ(board.sim({"log"}), 0);
    std::ofstream{board.at("/dev/video0.state")} << "silent";
    ASSERT_TRUE(board.stands_still());
    EXPECT_TRUE(wait_for_file(
        board.at("/run/vtrdc.status"),
        [&] {
            return read_text(board.at("/run/vtrdc.status")).find("frozen") != std::string::npos;
        },
        WAIT_LIMIT));
    EXPECT_EQ(board.sim({"shot", shot}), 1) << "a picture of long ago";
    EXPECT_EQ(board.sim({"stop"}), 0);
    const auto is_log = [](const fs::path& file) {
        return file.filename().string().starts_with("vtrdc.log");
    };
    std::size_t logs = 0;
    for (const fs::path& file : files_in(board.at("/var/log"))) {
        logs += is_log(file) ? 1 : 0;
    }
    EXPECT_EQ(logs, 6U) << "the present one and the five before";
    EXPECT_NE(read_text(board.at("/var/log/vtrdc.log")).find("[INFO]: Goodbye\n"),
              std::string::npos);
}

TEST(BoardInBackground, FailedStartReportsWhy) {
    const board board{"socket_file=/nowhere/vtrdc.socket\n"};
    EXPECT_EQ(board.sim({"start", "--no-build", "--headless"}), 1);
}

TEST(BoardFolder, FootageIsShownAndTheUsersFootageKept) {
    const board board;
    const fs::path camera = board.at("/dev/video0");
    const fs::path picture = board.at("/etc/no-video-input.png");
    fs::copy(picture, board.at("/footage/own.avi"));
    EXPECT_EQ(board.sim({"footage", "own.avi"}), 0);
    EXPECT_EQ(fs::read_symlink(camera),
              "../footage/own.avi"); // relative: the folder can be copied
    EXPECT_EQ(board.sim({"footage", board.at("/footage/drawn-scene")}), 0);
    EXPECT_EQ(read_text(camera), "");
    EXPECT_EQ(board.sim({"footage", "missing.avi"}), 1);
    std::ofstream{board.at("/footage/text.avi")} << "no video";
    EXPECT_EQ(board.sim({"footage", "text.avi"}), 1);
    EXPECT_EQ(board.sim({"footage", board.at("/footage")}), 1);
    // The camera device itself, directly and through a link: nothing would be left to show.
    EXPECT_EQ(board.sim({"footage", camera}), 1);
    fs::create_symlink("../dev/video0", board.at("/footage/detour"));
    EXPECT_EQ(board.sim({"footage", "detour"}), 1);
    EXPECT_EQ(fs::read_symlink(camera), "../footage/drawn-scene");
    for (const char* name : {"/footage/last\n", "/last\n"}) {
        fs::copy(picture, board.at(name));
        EXPECT_EQ(board.sim({"footage", board.at(name)}), 0);
        EXPECT_TRUE(fs::equivalent(camera, board.at(name)));
    }

    // A video put there by hand, and one from elsewhere while the camera is unplugged.
    fs::remove(camera);
    std::ofstream{camera} << "put there";
    EXPECT_EQ(board.sim({"footage", "own.avi"}), 0);
    EXPECT_EQ(read_text(board.at("/dev/video0.~1~")), "put there");
    EXPECT_EQ(board.sim({"camera", "off"}), 0);
    EXPECT_EQ(board.sim({"footage", picture}), 0);
    EXPECT_FALSE(fs::exists(camera));
    EXPECT_EQ(board.sim({"camera", "on"}), 0);
    EXPECT_EQ(fs::read_symlink(camera), picture);
}

TEST(BoardFolder, ScenesAreReplacedAndTheOnesBeforeKept) {
    const board board;
    const fs::path scene = board.at("/opt/okr/osd_okr/qml/main.qml");
    const std::string stock = read_text(scene);
    for (const char* own : {"first", "second", "second"}) {
        std::ofstream{board.at("/own.qml")} << own;
        EXPECT_EQ(board.sim({"scene", board.at("/own.qml")}), 0);
    }
    EXPECT_EQ(read_text(scene), "second");
    EXPECT_EQ(board.sim({"scene", "stock"}), 0);
    EXPECT_EQ(read_text(scene), stock);
    EXPECT_EQ(read_text(scene.string() + ".~1~"), stock);
    EXPECT_EQ(read_text(scene.string() + ".~2~"), "first");
    EXPECT_EQ(read_text(scene.string() + ".~3~"), "second");
    EXPECT_FALSE(fs::exists(scene.string() + ".~4~"));
    EXPECT_EQ(board.sim({"scene", board.at("/missing.qml")}), 1);

    std::ofstream{board.at("/etc/vtrdc.conf")} << "qml_file=/opt/other.qml\n";
    EXPECT_EQ(board.sim({"scene", board.at("/own.qml")}), 0);
    EXPECT_EQ(read_text(board.at("/opt/other.qml")), "second");
}

// Files beside the scene, with their content.
std::map<std::string, std::string> contents(const fs::path& folder) {
    std::map<std::string, std::string> all;
    for (const fs::directory_entry& each : fs::directory_iterator{folder}) {
        if (each.is_regular_file()) {
            all[each.path().filename()] = read_text(each.path());
        }
    }
    return all;
}

TEST(BoardFolder, ScenesPutInPlaceAtTheSameTimeAreAllKept) {
    const board board;
    const fs::path scene = board.at("/opt/okr/osd_okr/qml/main.qml");
    const std::size_t before = contents(scene.parent_path()).size();
    constexpr int COUNT = 8;
    std::set<std::string> expected{read_text(scene)};
    std::vector<std::future<int>> calls;
    for (int number = 0; number < COUNT; ++number) {
        const fs::path own = board.at("/own" + std::to_string(number));
        std::ofstream{own} << number;
        fs::permissions(own, fs::perms::owner_read); // like an upload from the page
        expected.insert(std::to_string(number));
        calls.push_back(std::async(std::launch::async, [&board, own] {
            return board.sim({"scene", own});
        }));
    }
    for (std::future<int>& call : calls) {
        EXPECT_EQ(call.get(), 0);
    }
    const auto all = contents(scene.parent_path());
    EXPECT_EQ(all.size(), before + COUNT);
    for (const auto& [name, text] : all) {
        expected.erase(text);
    }
    EXPECT_THAT(expected, testing::IsEmpty());
    const mode_t mask = umask(0);
    umask(mask);
    EXPECT_EQ(fs::status(scene).permissions(), fs::perms{0666 & ~mask});
}

TEST(BoardFolder, SceneThatCannotBeReplacedLeavesNothingBehind) {
    const board board;
    std::ofstream{board.at("/etc/vtrdc.conf")} << "qml_file=/opt/scenes/folder\n";
    fs::create_directories(board.at("/opt/scenes/folder"));
    EXPECT_EQ(board.sim({"scene", "stock"}), 1);
    EXPECT_EQ(std::distance(fs::directory_iterator{board.at("/opt/scenes")}, {}), 1);
}

TEST(ThermalCoreTool, KeepsStateAndLogsEachCall) {
    const board board;
    EXPECT_EQ(vtrcore(board, "zoom 2"), 0);
    EXPECT_EQ(vtrcore(board, "pip 4"), 0);
    EXPECT_EQ(vtrcore(board, "origin 435 -3"), 0);
    EXPECT_EQ(vtrcore(board, "fast-nuc"), 0);
    EXPECT_EQ(vtrcore(board, "fast-nuc"), 0);
    EXPECT_EQ(vtrcore(board, "shutter-movement 1"), 0);
    const fs::path state = board.at("/var/lib/vtrcore");
    EXPECT_EQ(read_text(state / "zoom"), "2\n");
    EXPECT_EQ(read_text(state / "pip"), "4\n");
    EXPECT_EQ(read_text(state / "origin"), "435 -3\n");
    EXPECT_EQ(read_text(state / "nuc"), "2\n");
    EXPECT_EQ(read_text(state / "shutter"), "1\n");
    for (const char* wrong : {"", "zoom", "zoom x", "origin 1", "shutter-movement 2", "dance"}) {
        EXPECT_EQ(vtrcore(board, wrong), 64) << wrong;
    }
    std::ofstream{state / "fail"} << "3\n";
    EXPECT_EQ(vtrcore(board, "zoom 4"), 3);
    EXPECT_EQ(board.sim({"core", "fail"}), 0);
    EXPECT_EQ(vtrcore(board, "zoom 4"), 1);
    EXPECT_EQ(read_text(state / "zoom"), "2\n");
    EXPECT_THAT(read_text(board.at("/var/log/vtrcore.log")),
                testing::StartsWith("zoom 2\npip 4\norigin 435 -3\nfast-nuc\n"));
    EXPECT_THAT(read_text(board.at("/var/log/vtrcore.log")), testing::EndsWith("\nzoom 4\n"));
    EXPECT_EQ(board.sim({"core", "work"}), 0);
    EXPECT_EQ(vtrcore(board, "zoom 4"), 0);
}

// True while somebody has the FIFO open for reading, as its keeper does.
bool is_kept(const board& board) {
    const int fifo = open(board.at("/dev/input/event1").c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
    if (fifo >= 0) {
        close(fifo);
    }
    return fifo >= 0;
}

TEST(Buttons, FifoIsKeptOpenAsLongAsTheDaemonLives) {
    const board board;
    vtrdc_daemon daemon{board};
    ASSERT_TRUE(daemon.wait_for("Display Pipeline set to playing"));
    EXPECT_TRUE(is_kept(board));
    const std::vector<pid_t> kept_by = keepers(board);
    ASSERT_EQ(kept_by.size(), 1U);
    EXPECT_EQ(daemon.stop(), 0);
    EXPECT_TRUE(has_ended(kept_by.front(), WAIT_LIMIT));
    EXPECT_FALSE(is_kept(board));
}

TEST(Buttons, FifoIsKeptOpenForADetachedDaemon) {
    const board board;
    vtrdc_daemon starter{board, {"-d", "-p", "/run/vtrdc.pid", "-l", "/var/log/vtrdc.log"}};
    EXPECT_EQ(starter.wait_exit(WAIT_LIMIT), 0);
    ASSERT_TRUE(board.wait_for_frames(5));
    EXPECT_TRUE(is_kept(board));
    const std::vector<pid_t> kept_by = keepers(board);
    ASSERT_EQ(kept_by.size(), 1U);
    const auto daemon = static_cast<pid_t>(std::stol(read_text(board.at("/run/vtrdc.pid"))));
    EXPECT_EQ(kill(daemon, SIGTERM), 0);
    EXPECT_TRUE(has_ended(kept_by.front(), WAIT_LIMIT));
}

} // namespace

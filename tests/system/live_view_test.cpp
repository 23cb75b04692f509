// From camera to panel, and what happens when the camera is lost.
#include "support/daemon.h"

#include <array>
#include <csignal>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

using testing::HasSubstr;

namespace {

constexpr area MIDDLE{100, 100, 800, 500};

TEST(LiveView, ShowsFootageUnderTheOverlayAndMoves) {
    const board board;
    vtrdc_daemon daemon{board, {"-v"}};
    ASSERT_TRUE(daemon.wait_until_live());
    const picture first = board.panel();
    EXPECT_EQ(first.width(), 1024);
    EXPECT_EQ(first.height(), 768);
    EXPECT_TRUE(
        board.wait_for_panel([&first](const picture& now) { return now.difference(first) > 0.0; }));
    EXPECT_TRUE(std::filesystem::exists(board.at("/var/run/video_playing")));
    EXPECT_EQ(daemon.stop(), 0);
    EXPECT_THAT(daemon.output(), HasSubstr("Gstreamer initialized, verison: GStreamer 1."));
}

TEST(LiveView, LostCameraShowsTheSplash) {
    const board board;
    vtrdc_daemon daemon{board};
    ASSERT_TRUE(daemon.wait_until_live());
    ASSERT_EQ(board.sim({"camera", "off"}), 0);
    for (const char* line :
         {"[INFO]: Got EoS event on pipe 0\n", "[INFO]: Sending eos on pipe: 1\n",
          "[INFO]: Got EoS event on pipe 1\n",
          "[WARN]: Input failed - showing no video indication\n",
          "[INFO]: Splash Pipeline set to playing, rc = "}) {
        EXPECT_TRUE(daemon.wait_for(line));
    }
    // The no-input picture is dark, with the overlay on it.
    EXPECT_TRUE(board.wait_for_panel([](const picture& panel) {
        return panel.mean(MIDDLE) < 60.0 && panel.red_pixels(MIDDLE) > 0;
    }));
    EXPECT_EQ(daemon.stop(), 0);
    EXPECT_THAT(daemon.output(), HasSubstr("Got EoS event on pipe 6\n"));
}

// Both are asked in one pass of the loop, and the display is gone first.
TEST(LiveView, DisplayThatEndsWhileASplashIsEndingGetsItsSplash) {
    const board board;
    vtrdc_daemon daemon{board};
    ASSERT_TRUE(daemon.wait_until_live());
    ASSERT_EQ(board.sim({"camera", "off"}), 0);
    ASSERT_TRUE(daemon.wait_for("Splash Pipeline set to playing"));
    ASSERT_EQ(board.sim({"camera", "on"}), 0);
    EXPECT_EQ(daemon.ask("c:create_pipe:i:0"), "r:create_pipe:n:");
    EXPECT_EQ(daemon.ask("c:create_pipe:i:1"), "r:create_pipe:n:");
    const std::array clients{daemon.connect(), daemon.connect()};
    daemon.signal(SIGSTOP);
    EXPECT_GT(send(clients[0], "c:kill_pipe:i:1", 15, 0), 0);
    EXPECT_GT(send(clients[1], "c:kill_pipe:i:6", 15, 0), 0);
    daemon.signal(SIGCONT);
    EXPECT_TRUE(daemon.wait_for("Got EoS event on pipe 1\n"));
    EXPECT_TRUE(daemon.wait_for("Splash Pipeline set to playing"));
    for (const int client : clients) {
        close(client);
    }
    EXPECT_EQ(daemon.stop(), 0);
}

TEST(LiveView, FootageThatCannotBePlayedIsReplacedByAScene) {
    const board board;
    std::filesystem::remove(board.at("/dev/video0"));
    std::ofstream{board.at("/dev/video0")} << "this is no video";
    vtrdc_daemon daemon{board};
    EXPECT_TRUE(daemon.wait_until_live());
    EXPECT_EQ(daemon.stop(), 0);
}

TEST(LiveView, BrokenSceneIsReportedAndTheVideoPasses) {
    const board board;
    std::ofstream{board.at("/opt/okr/osd_okr/qml/main.qml")}
        << "import QtQuick\nItem {\n  width: }\n";
    vtrdc_daemon daemon{board};
    EXPECT_TRUE(daemon.wait_for("[WARN]: from element /GstPipeline:src-pipe/"
                                "SimQtOverlay:overlay-plugin: file://"));
    EXPECT_TRUE(daemon.wait_for("main.qml:3:"));
    EXPECT_TRUE(
        board.wait_for_panel([](const picture& panel) { return panel.deviation(MIDDLE) > 5.0; }));
    EXPECT_EQ(daemon.stop(), 0);
}

// The pipe with the missing element reports it.
TEST(LiveView, MissingStandInsAreTheFirstPipesError) {
    const board board;
    vtrdc_daemon daemon{board, {}, {"GST_PLUGIN_PATH="}};
    EXPECT_EQ(daemon.wait_exit(WAIT_LIMIT), 1);
    EXPECT_THAT(daemon.output(),
                testing::ContainsRegex("\\[ERROR\\]\\[errno=[0-9]+\\]: One element could not be "
                                       "created in the src pipe.\n$"));
}

// Once a second for the timer; descriptors must not stay readable.
TEST(LiveView, IdleMainThreadWakesOnceASecond) {
    const board board;
    vtrdc_daemon daemon{board};
    ASSERT_TRUE(daemon.wait_until_live());
    const auto voluntary_switches = [&daemon] {
        const std::string id = std::to_string(daemon.pid());
        const std::string status = read_text("/proc/" + id + "/task/" + id + "/status");
        return std::stol(status.substr(status.find("\nvoluntary_ctxt_switches:") + 25));
    };
    ASSERT_TRUE(board.wait_for_frames(30));
    const long before = voluntary_switches();
    // Four seconds of video; a busy loop would wake thousands of times.
    ASSERT_TRUE(board.wait_for_frames(120));
    EXPECT_LE(voluntary_switches() - before, 8);
    EXPECT_EQ(daemon.stop(), 0);
}

} // namespace

// A camera that delivers nothing, or whose driver doesn't return, blocks nothing.
#include "support/daemon.h"
#include "support/media.h"

#include <chrono>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

namespace {

// Time limit for everybody, with reserves for a busy machine. A camera may stay stuck forever.
constexpr std::chrono::seconds AT_ONCE{3};

class StuckCameraTest : public testing::TestWithParam<const char*> {
protected:
    void SetUp() override {
        ASSERT_TRUE(daemon_.wait_until_live());
        EXPECT_EQ(ask("c:enable_record:i:1"), "r:enable_record:n:");
        ASSERT_TRUE(board_.wait_for_frames(60));
        std::ofstream{board_.at("/dev/video0.state")} << GetParam();
        ASSERT_TRUE(board_.stands_still());
    }

    std::string ask(std::string_view request) {
        const auto asked = std::chrono::steady_clock::now();
        std::string reply = daemon_.ask(request);
        EXPECT_LT(std::chrono::steady_clock::now() - asked, AT_ONCE) << request;
        return reply;
    }

    void expect_recording_plays() {
        const std::vector<std::filesystem::path> files = files_in(board_.at("/media/video"));
        ASSERT_EQ(files.size(), 1U);
        EXPECT_EQ(complaints(files.front()), "");
        const media recorded = probe(files.front());
        ASSERT_TRUE(recorded.video && recorded.audio);
        EXPECT_GE(recorded.video->packets.size(), 40U);
    }

    board board_;
    vtrdc_daemon daemon_{board_};
};

TEST_P(StuckCameraTest, StopEndsInTimeWithACompleteRecording) {
    EXPECT_EQ(daemon_.stop(), 0);
    expect_recording_plays();
}

TEST_P(StuckCameraTest, ItsPipeEndsAndTheSplashIsShown) {
    EXPECT_EQ(ask("c:kill_pipe:i:0"), "r:kill_pipe:n:");
    EXPECT_EQ(ask("c:get_lum:n:"), "r:get_lum:s:0");
    EXPECT_TRUE(daemon_.wait_for("[INFO]: Got EoS event on pipe 0\n"));
    EXPECT_TRUE(daemon_.wait_for("showing no video indication"));
    EXPECT_EQ(ask("c:enable_record:i:0"), "r:enable_record:n:");
    EXPECT_TRUE(daemon_.wait_for("[INFO]: Got EoS event on pipe 5\n"));
    expect_recording_plays();
    // When the driver continues, the abandoned pipe is released, and a new live view works.
    std::ofstream{board_.at("/dev/video0.state")} << "run";
    EXPECT_EQ(ask("c:kill_pipe:i:6"), "r:kill_pipe:n:");
    EXPECT_TRUE(daemon_.wait_for("[INFO]: Got EoS event on pipe 6\n"));
    EXPECT_EQ(ask("c:create_pipe:i:0"), "r:create_pipe:n:");
    EXPECT_EQ(ask("c:create_pipe:i:1"), "r:create_pipe:n:");
    EXPECT_TRUE(board_.wait_for_frames(30));
    EXPECT_EQ(daemon_.stop(), 0);
    EXPECT_EQ(daemon_.count("CRITICAL"), 0);
}

INSTANTIATE_TEST_SUITE_P(Cameras, StuckCameraTest, testing::Values("silent", "block"),
                         [](const auto& test) { return std::string{test.param}; });

} // namespace

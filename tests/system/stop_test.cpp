// A signal in every state that needs no client: all pipes end, then the daemon.
#include "support/daemon.h"

#include <csignal>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::EndsWith;
using testing::HasSubstr;

namespace {

struct stop_case {
    const char* name;
    // Brings the daemon into the state in which it is stopped.
    bool (*reach)(const board& board, vtrdc_daemon& daemon);
    // A camera that is missing from the start.
    bool without_camera = false;
};

void PrintTo(const stop_case& state, std::ostream* out) {
    *out << state.name;
}

const stop_case stop_cases[] = {
    {"JustStarted",
     [](const board&, vtrdc_daemon& daemon) {
         // Signals are blocked by then, and the pipes are being made.
         return daemon.wait_for("Gstreamer initialized");
     }},
    {"Live", [](const board&, vtrdc_daemon& daemon) { return daemon.wait_until_live(); }},
    {"CameraLost",
     [](const board& board, vtrdc_daemon& daemon) {
         return daemon.wait_until_live() && board.sim({"camera", "off"}) == 0 &&
                daemon.wait_for("Got EoS event on pipe 0");
     }},
    {"Splash",
     [](const board& board, vtrdc_daemon& daemon) {
         return daemon.wait_until_live() && board.sim({"camera", "off"}) == 0 &&
                daemon.wait_for("Splash Pipeline set to playing") && board.wait_for_frames(10);
     }},
    {"SourceThatFailedToStart",
     [](const board&, vtrdc_daemon& daemon) {
         return daemon.wait_for("Source Pipeline set to playing, rc = 0") &&
                daemon.wait_for("There is no camera at");
     },
     true},
};

class StopTest : public testing::TestWithParam<std::tuple<stop_case, int>> {};

TEST_P(StopTest, EndsWithGoodbye) {
    const auto& [state, signal_number] = GetParam();
    const board board;
    if (state.without_camera) {
        ASSERT_EQ(board.sim({"camera", "off"}), 0);
    }
    vtrdc_daemon daemon{board};
    ASSERT_TRUE(state.reach(board, daemon));
    daemon.signal(signal_number);
    EXPECT_EQ(daemon.wait_exit(std::chrono::seconds{6}), 0);
    EXPECT_THAT(daemon.output(), HasSubstr("[INFO]: stopping daemon ...\n"));
    EXPECT_THAT(daemon.output(), HasSubstr("[INFO]: Requesting stop of all pipes..\n"));
    EXPECT_THAT(daemon.output(), EndsWith("[INFO]: Goodbye\n"));
}

std::string case_name(const testing::TestParamInfo<std::tuple<stop_case, int>>& parameter) {
    const auto& [state, signal_number] = parameter.param;
    return state.name + ("Signal" + std::to_string(signal_number));
}

INSTANTIATE_TEST_SUITE_P(States, StopTest,
                         testing::Combine(testing::ValuesIn(stop_cases), testing::Values(SIGTERM)),
                         case_name);
INSTANTIATE_TEST_SUITE_P(Signals, StopTest,
                         testing::Combine(testing::Values(stop_cases[1]),
                                          testing::Values(SIGINT, SIGHUP)),
                         case_name);

TEST(Stop, AskedTwiceEndsOnce) {
    const board board;
    ASSERT_EQ(board.sim({"camera", "off"}), 0);
    vtrdc_daemon daemon{board};
    ASSERT_TRUE(daemon.wait_for("There is no camera at"));
    daemon.signal(SIGTERM);
    ASSERT_TRUE(daemon.wait_for("Sending eos on pipe: 0"));
    daemon.signal(SIGINT);
    ASSERT_TRUE(daemon.wait_for("EOS to pipe: 0 already sent."));
    EXPECT_EQ(daemon.wait_exit(std::chrono::seconds{6}), 0);
}

// A folder with links to all system plug-ins except one.
std::filesystem::path plugins_without(const board& board, const char* missing) {
    const std::filesystem::path folder = board.at("/plugins");
    std::filesystem::create_directory(folder);
    for (const auto& plugin : std::filesystem::directory_iterator{VTRDC_GST_PLUGINS}) {
        if (plugin.path().filename() != missing) {
            std::filesystem::create_symlink(plugin.path(), folder / plugin.path().filename());
        }
    }
    return folder;
}

// An ERROR line ends the process at once, whatever other threads are doing.
TEST(Stop, ErrorEndsWithStatusOneWhileThreadsRun) {
    const board board;
    const std::filesystem::path plugins = plugins_without(board, "libgstpng.so");
    for (int round = 0; round < 5; ++round) {
        ASSERT_EQ(board.sim({"camera", "on"}), 0);
        vtrdc_daemon daemon{board, {}, {"GST_PLUGIN_SYSTEM_PATH=" + plugins.string()}};
        ASSERT_TRUE(daemon.wait_for("Display Pipeline set to playing"));
        ASSERT_TRUE(board.wait_for_frames(1 + round));
        // Without a decoder for its picture the splash can't be made.
        ASSERT_EQ(board.sim({"camera", "off"}), 0);
        EXPECT_EQ(daemon.wait_exit(WAIT_LIMIT), 1);
        EXPECT_THAT(daemon.output(), testing::ContainsRegex("\\[ERROR\\]\\[errno=[0-9]+\\]: One "
                                                            "element could not be created in the "
                                                            "splash pipe.\n$"));
    }
}

} // namespace

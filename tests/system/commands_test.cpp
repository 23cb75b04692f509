// The client commands over the socket: exact replies, side effects, and what is stored.
#include "support/daemon.h"
#include "support/file_watch.h"

#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

constexpr area WHOLE{0, 0, 1024, 768};

class CommandTest : public testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(daemon_.wait_until_live()); }
    void TearDown() override { EXPECT_EQ(daemon_.stop(), 0); }

    [[nodiscard]] std::string overlay_log() const {
        return read_text(board_.at("/var/log/overlay.log"));
    }
    [[nodiscard]] std::string core_log() const {
        return read_text(board_.at("/var/log/vtrcore.log"));
    }

    board board_;
    vtrdc_daemon daemon_{board_, {"-c", "/etc/other.conf"}};
};

struct exchange_case {
    std::string request;
    std::string reply;
};

TEST_F(CommandTest, RepliesToTheLetter) {
    const std::string noise(2000, 'x');
    const exchange_case cases[] = {
        // the message form
        {"x:get_lum:n:", "e:no_cmd:s:Failed to decode the command"},
        {"c:get_lum", "e:no_cmd:s:Failed to decode the command"},
        {"r:get_lum:n:", "e:no_cmd:s:Failed to decode the command"},
        {"c:get_lum:x:", "e:no_cmd:s:Failed to decode the command"},
        {":", "e:no_cmd:s:Failed to decode the command"},
        {noise, "e:no_cmd:s:Failed to decode the command"},
        {"::c::get_lum:n:", "r:get_lum:s:0"},
        {"cc:get_lum:nothing:" + noise, "r:get_lum:s:0"},
        {std::string{"c:get_lum:n:\0junk", 17}, "r:get_lum:s:0"},
        {"c:Get_lum:n:", "e:Get_lum:s:Unknown command"},
        {"c:%n%s:n:", "e:%n%s:s:Unknown command"},
        // values
        {"c:set_lum:i:3", "r:set_lum:n:"},
        {"c:get_lum:n:", "r:get_lum:s:3"},
        {"c:set_lum:i:4", "e:set_lum:n:"},
        {"c:set_lum:i:-1", "e:set_lum:n:"},
        {"c:set_lum:i:99999999999", "e:set_lum:n:"},
        {"c:set_lum:i:  1", "r:set_lum:n:"},
        {"c:set_lum:i:" + noise, "r:set_lum:n:"}, // reads as 0
        {"c:get_lum:n:", "r:get_lum:s:0"},
        {"c:set_mic_volume:i:44", "r:set_mic_volume:n:"},
        {"c:set_mic_volume:i:101", "e:set_mic_volume:n:"},
        {"c:set_mic_volume:i:-1", "e:set_mic_volume:n:"},
        {"c:get_mic_volume:n:", "r:get_mic_volume:s:44"},
        {"c:set_enc_type:i:3", "e:set_enc_type:n:"},
        {"c:set_enc_type:i:2", "r:set_enc_type:n:"},
        {"c:get_enc_type:n:", "r:get_enc_type:s:2"},
        {"c:set_nuc_type:i:2", "r:set_nuc_type:n:"},
        {"c:set_nuc_type:i:4", "e:set_nuc_type:n:"},
        {"c:set_reticle_color:i:7", "e:set_reticle_color:n:"},
        {"c:set_reticle_color:i:-1", "e:set_reticle_color:n:"},
        {"c:set_reticle_color:i:6", "r:set_reticle_color:n:"},
        {"c:set_reticle_opacity:s:1.01", "e:set_reticle_opacity:n:"},
        {"c:set_reticle_opacity:s:nan", "e:set_reticle_opacity:n:"},
        {"c:set_reticle_opacity:s:0.5", "r:set_reticle_opacity:n:"},
        {"c:set_reticle_src:i:-1", "r:set_reticle_src:n:"},
        {"c:set_origin:l:1,2,3", "e:set_origin:s:Invalid argument count"},
        {"c:set_origin:l:", "e:set_origin:s:Invalid argument count"},
        {"c:set_origin:l:inf,2", "r:set_origin:n:"},
        {"c:enable_reticle:i:7", "r:enable_reticle:n:"},
        {"c:get_reticle:n:", "r:get_reticle:s:1"},
        {"c:get_pip:n:", "r:get_pip:s:0"},
        {"c:get_zoom:n:", "r:get_zoom:s:0"},
        {"c:enable_video:i:1", "e:enable_video:n:"},
        {"c:enable_qml:i:", "r:enable_qml:n:"},
        {"c:set_qml_prop:s:a,b", "e:set_qml_prop:s:Invalid argument count"},
        {"c:set_qml_prop:s:", "e:set_qml_prop:s:Invalid argument count"},
        // pipes
        {"c:create_pipe:i:10", "e:create_pipe:n:"},
        {"c:create_pipe:i:1", "e:create_pipe:n:"},
        {"c:create_pipe:i:5", "e:create_pipe:n:"},
        {"c:kill_pipe:i:-1", "e:kill_pipe:n:"},
        {"c:kill_pipe:i:99999999999", "e:kill_pipe:n:"},
        {"c:pause_pipe:i:10", "e:pause_pipe:n:"},
        {"c:pause_pipe:i:7", "e:pause_pipe:n:"},
        {"c:resume_pipe:i:-2", "e:resume_pipe:n:"},
        {"c:kill_pipe:i:9", "r:kill_pipe:n:"},
        {"c:pipeline_state:n:", "r:pipeline_state:n:"},
        {"c:create_dot:n:", "r:create_dot:n:"},
    };
    for (const exchange_case& each : cases) {
        EXPECT_EQ(daemon_.ask(each.request), each.reply) << each.request.substr(0, 60);
    }
    const std::string config = daemon_.ask("c:print_config:n:");
    EXPECT_THAT(config, StartsWith("r:print_config:s:socket_file=/run/vtrdc.socket\n"));
    EXPECT_THAT(config, HasSubstr("\nreticle_source=4\nreticle_color=6\nreticle_opacity=0.50\n"));
    EXPECT_THAT(config, HasSubstr("\norigin_x=512.00\n"));
    EXPECT_THAT(config, EndsWith("\nrecord_max_len=300\n"));
}

TEST_F(CommandTest, ChangedSettingsAreWrittenOnceToTheSightsOwnFile) {
    const auto written = [this] { return daemon_.count("[INFO]: Config write takes : "); };
    EXPECT_EQ(daemon_.ask("c:set_lum:i:2"), "r:set_lum:n:");
    EXPECT_EQ(daemon_.ask("c:set_lum:i:2"), "r:set_lum:n:"); // no change
    EXPECT_EQ(daemon_.ask("c:get_lum:n:"), "r:get_lum:s:2"); // after the pass of the ones before
    EXPECT_EQ(written(), 1);
    EXPECT_THAT(read_text(board_.at("/etc/vtrdc.conf")), HasSubstr("\nluminance=2\n"));
    EXPECT_FALSE(std::filesystem::exists(board_.at("/etc/other.conf")));
    // An origin counts as changed in any case.
    EXPECT_EQ(daemon_.ask("c:set_origin:l:512,384"), "r:set_origin:n:");
    EXPECT_EQ(daemon_.ask("c:set_mic_volume:i:100"), "r:set_mic_volume:n:");
    EXPECT_EQ(daemon_.ask("c:get_lum:n:"), "r:get_lum:s:2");
    EXPECT_EQ(written(), 2);
}

TEST_F(CommandTest, OverlayIsSwitchedAndTold) {
    EXPECT_EQ(daemon_.ask("c:enable_qml:i:0"), "r:enable_qml:n:");
    EXPECT_TRUE(
        board_.wait_for_panel([](const picture& panel) { return panel.red_pixels(WHOLE) == 0; }));
    EXPECT_EQ(daemon_.ask("c:enable_qml:i:1"), "r:enable_qml:n:");
    EXPECT_TRUE(
        board_.wait_for_panel([](const picture& panel) { return panel.red_pixels(WHOLE) > 0; }));
    EXPECT_EQ(daemon_.ask("c:set_qml_prop:s:lbl,text,a\\,b:c"), "r:set_qml_prop:n:");
    EXPECT_THAT(overlay_log(), EndsWith("\nlbl.text:a,b:c\n"));
}

TEST_F(CommandTest, PausedVideoStandsStillAndGoesOn) {
    EXPECT_EQ(daemon_.ask("c:pause_video:n:"), "r:pause_video:n:");
    const picture still = board_.panel();
    EXPECT_EQ(daemon_.ask("c:pause_video:n:"), "r:pause_video:n:");
    EXPECT_EQ(board_.panel().difference(still), 0.0);
    EXPECT_EQ(daemon_.ask("c:resume_video:n:"), "r:resume_video:n:");
    EXPECT_TRUE(board_.wait_for_panel(
        [&still](const picture& panel) { return panel.difference(still) > 0.0; }));
    // Stopped while it is paused.
    EXPECT_EQ(daemon_.ask("c:pause_pipe:i:0"), "r:pause_pipe:n:");
}

TEST_F(CommandTest, LiveViewIsBroughtBackAndLostAgain) {
    ASSERT_EQ(board_.sim({"camera", "off"}), 0);
    ASSERT_TRUE(daemon_.wait_for("Splash Pipeline set to playing"));
    ASSERT_EQ(board_.sim({"camera", "on"}), 0);
    EXPECT_EQ(daemon_.ask("c:kill_pipe:i:6"), "r:kill_pipe:n:");
    ASSERT_TRUE(daemon_.wait_for("Got EoS event on pipe 6"));
    EXPECT_EQ(daemon_.ask("c:create_pipe:i:0"), "r:create_pipe:n:");
    EXPECT_EQ(daemon_.ask("c:create_pipe:i:1"), "r:create_pipe:n:");
    EXPECT_TRUE(daemon_.wait_until_live());
    ASSERT_EQ(board_.sim({"camera", "off"}), 0);
    EXPECT_TRUE(daemon_.wait_for("Input failed - showing no video indication"));
    EXPECT_TRUE(daemon_.wait_for("Splash Pipeline set to playing"));
}

TEST_F(CommandTest, PipesAreDumpedAndDrawn) {
    EXPECT_EQ(daemon_.ask("c:pipeline_state:n:"), "r:pipeline_state:n:");
    for (const char* line :
         {"[INFO]: -- Bin -- [src-pipe]\n",
          "[INFO]: Element: (SimCamera) camera-source, state: "
          "PLAYING\n",
          "[INFO]:    pad: src, dir: SRC <-> peer: sink, parent:g2d-transform, dir:SINK\n",
          "[INFO]: -- Bin end --[src-pipe]\n", "[INFO]: -- Bin -- [display-pipe]\n",
          "[INFO]: -- Bin end --[display-pipe]\n"}) {
        EXPECT_TRUE(daemon_.wait_for(line));
    }
    EXPECT_EQ(daemon_.ask("c:create_dot:n:"), "r:create_dot:n:");
    int graphs = 0;
    for (const auto& file : std::filesystem::directory_iterator{board_.at("/home/root")}) {
        EXPECT_THAT(file.path().filename().string(),
                    testing::MatchesRegex("(src|display)_20[0-9]{12}\\.dot"));
        EXPECT_THAT(read_text(file.path()), HasSubstr("digraph pipeline {"));
        ++graphs;
    }
    EXPECT_EQ(graphs, 2);
}

TEST_F(CommandTest, SnapshotShowsWhatThePanelShows) {
    EXPECT_EQ(daemon_.ask("c:pause_video:n:"), "r:pause_video:n:");
    EXPECT_EQ(daemon_.ask("c:make_snapshot:n:"), "r:make_snapshot:n:");
    const std::filesystem::path folder = board_.at("/media/image");
    ASSERT_NE(std::filesystem::begin(std::filesystem::directory_iterator{folder}),
              std::filesystem::directory_iterator{});
    const std::filesystem::path file = std::filesystem::directory_iterator {
        folder
        } -> path();
    EXPECT_THAT(file.filename().string(), testing::MatchesRegex("img_20[0-9]{12}\\.jpeg"));
    const picture snapshot{file};
    ASSERT_EQ(snapshot.width(), 1024);
    ASSERT_EQ(snapshot.height(), 768);
    EXPECT_LT(snapshot.difference(board_.panel()), 4.0);
    EXPECT_GT(snapshot.red_pixels(WHOLE), 20);
    EXPECT_EQ(daemon_.ask("c:resume_video:n:"), "r:resume_video:n:");
}

TEST_F(CommandTest, NoSnapshotOfTheSplash) {
    ASSERT_EQ(board_.sim({"camera", "off"}), 0);
    ASSERT_TRUE(daemon_.wait_for("Splash Pipeline set to playing"));
    EXPECT_EQ(daemon_.ask("c:make_snapshot:n:"), "e:make_snapshot:n:");
}

TEST(Snapshot, NeedsSpaceThatCanBeAskedFor) {
    const board board;
    std::ofstream{board.at("/etc/vtrdc.conf")} << "media_path=/nowhere\n";
    vtrdc_daemon daemon{board};
    ASSERT_TRUE(daemon.wait_until_live());
    EXPECT_EQ(daemon.ask("c:make_snapshot:n:"), "e:make_snapshot:n:");
    EXPECT_TRUE(
        daemon.wait_for("[WARN]: Failed to query the system for the remaing space in /nowhere\n"));
    EXPECT_TRUE(daemon.wait_for("[WARN]: Snapshot: not enough space\n"));
    EXPECT_EQ(daemon.stop(), 0);
}

} // namespace

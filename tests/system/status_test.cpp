// The status file, and reloading a scene.
#include "config/settings.h"
#include "support/daemon.h"
#include "support/file_watch.h"
#include "support/media.h"

#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/stat.h>

using nlohmann::json;
using testing::EndsWith;
using testing::HasSubstr;
using testing::MatchesRegex;

namespace {

constexpr area PANEL_MIDDLE{100, 100, 800, 500};
constexpr const char* UTC_TIME = "20[0-9]{2}-[0-9]{2}-[0-9]{2}T[0-9]{2}:[0-9]{2}:[0-9]{2}Z";

class StatusTest : public testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(daemon_.wait_until_live()); }

    [[nodiscard]] json status() const { return json::parse(read_text(file_)); }

    // Waits until a field, given by a pointer such as "/live_view/state", has the value.
    [[nodiscard]] bool wait_for(const char* field, const json& value) const {
        const auto is_reached = [&] {
            const json now = json::parse(read_text(file_), nullptr, false);
            const json::json_pointer pointer{field};
            return !now.is_discarded() && now.contains(pointer) && now[pointer] == value;
        };
        return wait_for_file(file_, is_reached, WAIT_LIMIT);
    }

    [[nodiscard]] ino_t inode() const {
        struct stat now {};
        EXPECT_EQ(stat(file_.c_str(), &now), 0);
        return now.st_ino;
    }

    board board_{"record_max_len=1\nreticle_opacity=0.5\n"};
    const std::filesystem::path file_ = board_.at("/run/vtrdc.status");
    vtrdc_daemon daemon_{board_};
};

TEST_F(StatusTest, IsTypedOnlyForTheGroupAndGoneAfterTheEnd) {
    const json now = status();
    EXPECT_EQ(now["schema"], 1);
    EXPECT_EQ(now["pid"], daemon_.pid());
    EXPECT_THAT(now["started"].get<std::string>(), MatchesRegex(UTC_TIME));
    EXPECT_EQ(now["live_view"]["state"], "live");
    EXPECT_EQ(now["outputs"].size(), 3U);
    EXPECT_EQ(now["handed_over"], false);
    EXPECT_EQ(now["zoom"], 1);
    EXPECT_EQ(now["inset"], 0);
    EXPECT_EQ(now["failures"], json::object());
    ASSERT_EQ(now["settings"].size(), parse_table_size);
    EXPECT_EQ(now["settings"]["reticle_opacity"], 0.5);
    EXPECT_EQ(now["settings"]["media_path"], "/media/");
    struct stat file {};
    ASSERT_EQ(stat(file_.c_str(), &file), 0);
    EXPECT_EQ(file.st_mode & ALLPERMS, mode_t{0640});
    EXPECT_EQ(daemon_.stop(), 0);
    EXPECT_FALSE(std::filesystem::exists(file_));
}

TEST_F(StatusTest, IsWrittenOnlyWhenSomethingChanges) {
    EXPECT_EQ(daemon_.ask("c:set_lum:i:2"), "r:set_lum:n:");
    EXPECT_TRUE(wait_for("/settings/luminance", 2));
    const ino_t before = inode();
    EXPECT_EQ(daemon_.ask("c:set_lum:i:2"), "r:set_lum:n:");
    EXPECT_EQ(daemon_.ask("c:get_lum:n:"), "r:get_lum:s:2");
    ASSERT_TRUE(board_.wait_for_frames(90));
    EXPECT_EQ(inode(), before);
    EXPECT_EQ(daemon_.ask("c:kbd_zoom:n:"), "r:kbd_zoom:n:");
    EXPECT_TRUE(wait_for("/zoom", 2));
    EXPECT_EQ(daemon_.ask("c:enable_pip:i:1"), "r:enable_pip:n:");
    EXPECT_TRUE(wait_for("/inset", 2));
    EXPECT_EQ(status()["zoom"], 1);
    EXPECT_EQ(daemon_.ask("c:disable_kbd:n:"), "r:disable_kbd:n:");
    EXPECT_TRUE(wait_for("/handed_over", true));
}

TEST_F(StatusTest, FollowsARecordingFromFileToFile) {
    EXPECT_EQ(daemon_.ask("c:enable_record:i:1"), "r:enable_record:n:");
    EXPECT_TRUE(wait_for("/outputs/recording/state", "on"));
    EXPECT_THAT(status()["outputs"]["recording"]["file"].get<std::string>(),
                MatchesRegex("/media/video/video_[0-9]{14}_0[0-9].mp4"));
    EXPECT_TRUE(wait_for("/outputs/recording/splits", 1));
    EXPECT_EQ(daemon_.ask("c:enable_record:i:0"), "r:enable_record:n:");
    EXPECT_TRUE(wait_for("/outputs/recording/state", "off"));
    const json recording = status()["outputs"]["recording"];
    const std::vector<std::filesystem::path> files = files_in(board_.at("/media/video"));
    EXPECT_EQ(recording["splits"], files.size() - 1);
    EXPECT_THAT(files.back().string(), EndsWith(recording["file"].get<std::string>()));
    // The next recording counts its own splits.
    EXPECT_EQ(daemon_.ask("c:enable_record:i:1"), "r:enable_record:n:");
    EXPECT_TRUE(wait_for("/outputs/recording/state", "on"));
    EXPECT_EQ(status()["outputs"]["recording"]["splits"], 0);
}

TEST_F(StatusTest, KeepsTheLastFailureOfEachKind) {
    std::ofstream{board_.at("/var/lib/vtrcore/fail")} << 3;
    EXPECT_EQ(daemon_.ask("c:kbd_zoom:n:"), "e:kbd_zoom:n:");
    EXPECT_TRUE(
        wait_for("/failures/tool/text", "Tool failed with status 3: vtrcore origin 435 355"));
    EXPECT_EQ(status()["zoom"], 1);
    std::filesystem::remove(board_.at("/etc/vtrdc.conf"));
    std::filesystem::create_directory(board_.at("/etc/vtrdc.conf"));
    EXPECT_EQ(daemon_.ask("c:enable_dot:i:0"), "r:enable_dot:n:");
    EXPECT_TRUE(wait_for("/failures/settings/text",
                         "Failed to write the settings to /etc/vtrdc.conf: Is a directory"));
}

TEST_F(StatusTest, FailureToWriteIsLoggedOnce) {
    std::filesystem::create_directory(board_.at("/run/vtrdc.status.new"));
    EXPECT_EQ(daemon_.ask("c:set_lum:i:2"), "r:set_lum:n:");
    EXPECT_TRUE(daemon_.wait_for("[WARN]: Failed to write the status to /run/vtrdc.status: "));
    EXPECT_EQ(daemon_.ask("c:set_lum:i:1"), "r:set_lum:n:");
    std::filesystem::remove(board_.at("/run/vtrdc.status.new"));
    EXPECT_EQ(daemon_.ask("c:set_lum:i:3"), "r:set_lum:n:");
    EXPECT_TRUE(wait_for("/settings/luminance", 3));
    EXPECT_EQ(daemon_.count("Failed to write the status"), 1);
}

// --- Reloaded scenes -----------------------------------------------------------------------------

class NewSceneTest : public StatusTest {
protected:
    // Returns what the overlay gets after its log is emptied.
    void rebuild_live_view() {
        EXPECT_EQ(daemon_.ask("c:kill_pipe:i:0"), "r:kill_pipe:n:");
        EXPECT_TRUE(wait_for("/live_view/state", "no_input"));
        EXPECT_EQ(daemon_.ask("c:kill_pipe:i:6"), "r:kill_pipe:n:");
        EXPECT_TRUE(wait_for("/live_view/state", "none"));
        std::ofstream{board_.at("/var/log/overlay.log")};
        EXPECT_EQ(daemon_.ask("c:create_pipe:i:0"), "r:create_pipe:n:");
        EXPECT_EQ(daemon_.ask("c:create_pipe:i:1"), "r:create_pipe:n:");
        EXPECT_TRUE(wait_for("/live_view/state", "live"));
    }
    [[nodiscard]] std::string overlay_log() const {
        return read_text(board_.at("/var/log/overlay.log"));
    }
};

TEST_F(NewSceneTest, GetsThePresentState) {
    for (const char* request : {"c:set_origin:l:500,400", "c:kbd_zoom:n:",
                                "c:set_reticle_color:i:3", "c:enable_dot:i:0", "c:set_lum:i:2"}) {
        EXPECT_EQ(daemon_.ask(request).front(), 'r') << request;
    }
    const std::string before = overlay_log();
    const std::size_t place = before.rfind("{\"X\"");
    const std::string last_place = before.substr(place, before.find('\n', place) - place);
    // Neither this origin nor a correction's icon may be shown before the next zoom.
    EXPECT_EQ(daemon_.ask("c:set_origin:l:300,300"), "r:set_origin:n:");
    EXPECT_EQ(daemon_.ask("c:kbd_nuc:n:"), "r:kbd_nuc:n:");
    rebuild_live_view();
    const std::string after = overlay_log();
    EXPECT_THAT(after, HasSubstr(last_place));
    for (const char* const text :
         {R"({"SRC": "/opt/okr/Reticles/StandardMilDot.svg"})", R"({"STATE": 1})",
          R"({"RD_STATE": 0})", R"({"COLOR_HEX": "#cc2c24"})", R"({"KEY": "LUM", "VAL": 2})",
          R"({"KEY": "ZOOM" , "VAL": 1})"}) {
        EXPECT_THAT(after, HasSubstr(text));
    }
    EXPECT_THAT(after, testing::Not(HasSubstr("AUTO_NUC_ALRT")));
}

TEST_F(NewSceneTest, StaysHiddenAndIsLeftAloneAfterTheHandOver) {
    EXPECT_EQ(daemon_.ask("c:enable_qml:i:0"), "r:enable_qml:n:");
    EXPECT_EQ(daemon_.ask("c:disable_kbd:n:"), "r:disable_kbd:n:");
    rebuild_live_view();
    EXPECT_EQ(overlay_log(), "");
    EXPECT_TRUE(board_.wait_for_panel([](const picture& panel) {
        return panel.mean(PANEL_MIDDLE) > 0.0 && panel.red_pixels(PANEL_MIDDLE) == 0;
    }));
}

} // namespace

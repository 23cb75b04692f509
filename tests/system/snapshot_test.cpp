// Snapshots: a client has the panel's picture written to the media folder.
#include "support/daemon.h"
#include "support/storage.h"

#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::HasSubstr;

namespace {

constexpr area WHOLE{0, 0, 1024, 768};
constexpr const char* REQUEST = "c:make_snapshot:n:";
constexpr const char* DONE = "r:make_snapshot:n:";
constexpr const char* FAILED = "e:make_snapshot:n:";

class SnapshotTest : public testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(daemon_.wait_until_live()); }

    void lose_camera() {
        ASSERT_EQ(board_.sim({"camera", "off"}), 0);
        ASSERT_TRUE(daemon_.wait_for("Splash Pipeline set to playing"));
    }

    // Written files, including temporary ones.
    [[nodiscard]] std::vector<std::filesystem::path> snapshots() const {
        const std::filesystem::directory_iterator folder{board_.at("/media/image")};
        return {begin(folder), end(folder)};
    }

    // Takes a snapshot that must succeed.
    [[nodiscard]] picture snapshot() {
        EXPECT_EQ(daemon_.ask(REQUEST), DONE);
        const std::vector<std::filesystem::path> files = snapshots();
        EXPECT_EQ(files.size(), 1U);
        if (files.empty()) {
            return picture{""};
        }
        EXPECT_THAT(files.front().filename().string(),
                    testing::MatchesRegex("img_20[0-9]{12}\\.jpeg"));
        const picture taken{files.front()};
        std::filesystem::remove(files.front());
        return taken;
    }

    board board_;
    vtrdc_daemon daemon_{board_};
};

TEST_F(SnapshotTest, ShowsWhatThePanelShows) {
    EXPECT_EQ(daemon_.ask("c:pause_video:n:"), "r:pause_video:n:");
    ASSERT_TRUE(board_.stands_still());
    const picture taken = snapshot();
    ASSERT_EQ(taken.width(), 1024);
    ASSERT_EQ(taken.height(), 768);
    // Up to the compression's loss; another frame differs by more.
    EXPECT_LT(taken.difference(board_.panel()), 2.0);
    EXPECT_GT(taken.red_pixels(WHOLE), 20);
    EXPECT_EQ(daemon_.stop(), 0);
}

TEST_F(SnapshotTest, LacksADisabledOverlay) {
    EXPECT_EQ(daemon_.ask("c:enable_qml:i:0"), "r:enable_qml:n:");
    ASSERT_TRUE(
        board_.wait_for_panel([](const picture& panel) { return panel.red_pixels(WHOLE) == 0; }));
    const picture taken = snapshot();
    ASSERT_EQ(taken.width(), 1024);
    EXPECT_EQ(taken.red_pixels(WHOLE), 0);
    EXPECT_EQ(daemon_.stop(), 0);
}

TEST_F(SnapshotTest, NeedsSpace) {
    const small_storage storage{board_.at("/media"), "1m"};
    if (!storage.is_mounted()) {
        GTEST_SKIP() << "no right to mount";
    }
    EXPECT_EQ(daemon_.ask(REQUEST), FAILED);
    EXPECT_TRUE(daemon_.wait_for("[WARN]: not enough bytes, asking for 2359296, but have 1048576"));
    EXPECT_TRUE(daemon_.wait_for("[WARN]: Snapshot: not enough space\n"));
    EXPECT_TRUE(snapshots().empty());
    storage.resize("8m");
    EXPECT_EQ(snapshot().width(), 1024);
    EXPECT_EQ(daemon_.stop(), 0);
}

TEST_F(SnapshotTest, FailureToSaveIsAWarning) {
    std::ofstream{board_.at("/media/image")} << "no folder";
    EXPECT_EQ(daemon_.ask(REQUEST), FAILED);
    EXPECT_TRUE(daemon_.wait_for("[WARN]: Could not save snapshot: "));
    std::filesystem::remove(board_.at("/media/image"));
    EXPECT_EQ(snapshot().width(), 1024);
    EXPECT_EQ(daemon_.stop(), 0);
}

TEST_F(SnapshotTest, IsRefusedForTheSplash) {
    lose_camera();
    EXPECT_EQ(daemon_.ask(REQUEST), FAILED);
    EXPECT_TRUE(snapshots().empty());
    EXPECT_EQ(daemon_.stop(), 0);
}

// The one snapshot that ends the daemon: of a display that has not shown anything.
TEST_F(SnapshotTest, OfADisplayWithoutAFrameIsAnError) {
    lose_camera();
    EXPECT_EQ(daemon_.ask("c:create_pipe:i:1"), "r:create_pipe:n:");
    EXPECT_EQ(daemon_.ask(REQUEST), "");
    EXPECT_EQ(daemon_.wait_exit(WAIT_LIMIT), 1);
    EXPECT_THAT(daemon_.output(), HasSubstr("]: Error getting last sample from display sink\n"));
}

TEST(Snapshot, UnknownFreeSpaceCountsAsFull) {
    const board board;
    std::ofstream{board.at("/etc/vtrdc.conf")} << "media_path=/nowhere\n";
    vtrdc_daemon daemon{board};
    ASSERT_TRUE(daemon.wait_until_live());
    EXPECT_EQ(daemon.ask(REQUEST), FAILED);
    EXPECT_TRUE(
        daemon.wait_for("[WARN]: Failed to query the system for the remaing space in /nowhere\n"));
    EXPECT_TRUE(daemon.wait_for("[WARN]: Snapshot: not enough space\n"));
    EXPECT_EQ(daemon.stop(), 0);
}

} // namespace

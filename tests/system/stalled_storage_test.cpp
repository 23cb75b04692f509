// Storage stalls while a recording is stopped: the recording is completed when it recovers.
#include "support/card.h"
#include "support/daemon.h"
#include "support/media.h"

#include <csignal>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <optional>

using testing::HasSubstr;

namespace {

// Longer than the forced end of any other pipe takes.
constexpr int STALLED_SECONDS = 8;
// Time limit for a stop with dead storage.
constexpr std::chrono::seconds DEAD_STORAGE_LIMIT{36};

class StalledStorageTest : public testing::Test {
protected:
    // Records for two seconds.
    void record(const std::vector<std::string>& environment = {}) {
        daemon_.emplace(board_, std::vector<std::string>{"-v"}, environment);
        ASSERT_TRUE(daemon_->wait_until_live());
        EXPECT_EQ(daemon_->ask("c:enable_record:i:1"), "r:enable_record:n:");
        wait_for_ticks(3);
    }

    // Once a second while a recording exists.
    void wait_for_ticks(int count) {
        for (int tick = 0; tick < count; ++tick) {
            ASSERT_TRUE(daemon_->wait_for("Enough space to continue recoding.\n"));
        }
    }

    void expect_whole_file() {
        const auto files = files_in(board_.at("/media/video"));
        ASSERT_EQ(files.size(), 1U);
        EXPECT_EQ(complaints(files.front()), "");
        EXPECT_GE(probe(files.front()).video->end(), 1.5);
        EXPECT_EQ(daemon_->count("by force"), 0);
    }

    board board_;
    std::optional<vtrdc_daemon> daemon_;
};

TEST_F(StalledStorageTest, StopOfTheDaemonWaitsForIt) {
    storage_card card{board_.at("/media")};
    if (!card.is_mounted()) {
        GTEST_SKIP() << "mounting an image takes root's rights and a loop device";
    }
    record();
    card.stall();
    daemon_->signal(SIGTERM);
    wait_for_ticks(STALLED_SECONDS);
    EXPECT_EQ(daemon_->ask("c:get_lum:n:"), "r:get_lum:s:0");
    card.go_on();
    EXPECT_EQ(daemon_->wait_exit(WAIT_LIMIT), 0);
    expect_whole_file();
}

TEST_F(StalledStorageTest, DeadStorageIsEventuallyGivenUp) {
    const std::filesystem::path marker = board_.at("/storage-is-dead");
    record({"LD_PRELOAD=" VTRDC_STALLED_WRITES, "VTRDC_TEST_STALLED=" + marker.string()});
    std::ofstream{marker};
    daemon_->signal(SIGTERM);
    EXPECT_EQ(daemon_->wait_exit(DEAD_STORAGE_LIMIT), 0);
    EXPECT_THAT(daemon_->output(), HasSubstr("[WARN]: Pipe 5 is ended by force, the last file of "
                                             "/media//video/video_"));
}

// A card that accepts data but stalls on fsync.
TEST_F(StalledStorageTest, FlushBlocksNothing) {
    const std::filesystem::path marker = board_.at("/storage-is-dead");
    std::ofstream{marker};
    record({"LD_PRELOAD=" VTRDC_STALLED_WRITES, "VTRDC_TEST_STALLED=" + marker.string(),
            "VTRDC_TEST_WRITES_PASS=1"});
    EXPECT_EQ(daemon_->ask("c:enable_record:i:0"), "r:enable_record:n:");
    EXPECT_TRUE(daemon_->wait_for("[INFO]: Got EoS event on pipe 5\n"));
    EXPECT_EQ(daemon_->ask("c:get_lum:n:"), "r:get_lum:s:0");
    const auto files = files_in(board_.at("/media/video"));
    ASSERT_EQ(files.size(), 1U);
    EXPECT_EQ(complaints(files.front()), "");
    daemon_->signal(SIGTERM);
    EXPECT_EQ(daemon_->wait_exit(DEAD_STORAGE_LIMIT), 0);
    EXPECT_THAT(daemon_->output(), HasSubstr("[WARN]: The storage stalls, going on without it\n"));
}

} // namespace

// The one-second timer and the effects of its ticks, called directly.
#include "config/cfg.h"
#include "core/timer.h"
#include "support/temp_folder.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <poll.h>
#include <vector>

namespace {

// Ticks without a timer: nothing is read. Each test has its own process, since the tick count can't
// be reset.
class TickTest : public testing::Test {
protected:
    TickTest() {
        const std::string tool = folder_.write("vtrcore", "#!/bin/sh\necho \"$@\" >>\"$CALLS\"\n");
        std::filesystem::permissions(tool, std::filesystem::perms::owner_all);
        setenv("CALLS", calls_.c_str(), 1);
        setenv("PATH", (folder_.path().string() + ":/usr/bin:/bin").c_str(), 1);
    }

    // Numbers (from 1) of the ticks on which the shutter was corrected.
    std::vector<int> ticks_with_correction(int last) {
        std::vector<int> ticks;
        std::size_t seen = 0;
        for (int tick = 1; tick <= last; ++tick) {
            process_timer();
            const std::string now = read_text(calls_);
            if (now.size() != seen) {
                EXPECT_EQ(now.substr(seen), "fast-nuc\n");
                ticks.push_back(tick);
                seen = now.size();
            }
        }
        return ticks;
    }

    temp_folder folder_;
    std::string calls_ = folder_.path() / "calls";
};

void exit_with(bool success) {
    std::exit(success ? 0 : 1);
}

TEST_F(TickTest, ShutterIsCorrectedOnTheSecondAndTwelfthTick) {
    global_config.nuc_type = 0;
    EXPECT_EXIT(exit_with(ticks_with_correction(120) == std::vector{2, 12}),
                testing::ExitedWithCode(0), "");
}

TEST_F(TickTest, ShutterIsLeftToTheCoreWithAnyOtherType) {
    for (const int type : {1, 2, 3}) {
        global_config.nuc_type = type;
        EXPECT_EXIT(exit_with(ticks_with_correction(20).empty()), testing::ExitedWithCode(0), "");
    }
}

TEST(TimerTest, MissedTicksCountAsOne) {
    const int timer = timer_init();
    ASSERT_GT(timer, 0);
    // A stall of more than two ticks: no descriptor becomes readable here.
    poll(nullptr, 0, 2'100);
    EXPECT_EQ(timer_read(), 8);
    pollfd next{timer, POLLIN, 0};
    EXPECT_EQ(poll(&next, 1, 0), 0);
    EXPECT_EQ(poll(&next, 1, 5'000), 1);
    timer_close();
}

} // namespace

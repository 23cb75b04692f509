// Stops the daemon while it records and its storage stalls.
#include "stops.h"

#include "dice.h"
#include "support/card.h"
#include "support/daemon.h"
#include "support/media.h"

#include <chrono>
#include <csignal>
#include <gtest/gtest.h>
#include <iostream>
#include <thread>

namespace {

namespace fs = std::filesystem;
using std::chrono::milliseconds;

constexpr int RECORDED_MAX_MS = 3000;
constexpr int STALL_MAX_MS = 3000;
// Recordings are completed when storage recovers; other hanging pipes are ended by force.
constexpr std::chrono::seconds STOP_LIMIT{15};
constexpr int STOPS[] = {SIGTERM, SIGHUP, SIGINT};

// Events after the reply to the command that starts the recording.
struct plan {
    int signal;
    bool goes_to_group;
    milliseconds stop;
    milliseconds stall{}; // the stop may come before, during or after it
    milliseconds go_on{};
};

plan draw(dice& dice) {
    plan drawn{.signal = dice.pick(STOPS),
               .goes_to_group = dice.chance(50),
               .stop = milliseconds{dice.number(0, RECORDED_MAX_MS)}};
    drawn.stall = drawn.stop + milliseconds{dice.number(-STALL_MAX_MS, 500)};
    drawn.stall = std::max(drawn.stall, milliseconds{0});
    drawn.go_on = drawn.stall + milliseconds{dice.number(0, STALL_MAX_MS)};
    return drawn;
}

std::string describe(const plan& what) {
    return std::string{strsignal(what.signal)} + (what.goes_to_group ? " to the group" : "") +
           " after " + std::to_string(what.stop.count()) + " ms, storage stalls from " +
           std::to_string(what.stall.count()) + " to " + std::to_string(what.go_on.count()) + " ms";
}

// The group includes this program.
void send(const plan& what, const vtrdc_daemon& daemon) {
    if (!what.goes_to_group) {
        return daemon.signal(what.signal);
    }
    const auto before = std::signal(what.signal, SIG_IGN);
    EXPECT_EQ(kill(0, what.signal), 0);
    static_cast<void>(std::signal(what.signal, before));
}

void carry_out(const plan& what, const vtrdc_daemon& daemon, storage_card& card) {
    struct step {
        milliseconds time;
        std::function<void()> act;
    };
    std::vector<step> steps{{what.stop, [&] { send(what, daemon); }},
                            {what.stall, [&] { card.stall(); }},
                            {what.go_on, [&] { card.go_on(); }}};
    std::ranges::stable_sort(steps, {}, &step::time);
    const auto start = std::chrono::steady_clock::now();
    for (const step& each : steps) {
        std::this_thread::sleep_until(start + each.time);
        each.act();
    }
}

// A recording stopped before its first picture.
bool holds_nothing(const fs::path& recording) {
    constexpr std::size_t DATA_LENGTH_PLACE = 40;
    constexpr std::string_view OF_NOTHING{"\0\0\0\x8", 4};
    return read_text(recording).find(OF_NOTHING, DATA_LENGTH_PLACE) == DATA_LENGTH_PLACE;
}

// True if it contains anything.
bool judge_recording(const fs::path& folder) {
    const std::vector<fs::path> files = files_in(folder);
    EXPECT_EQ(files.size(), 1U);
    bool holds_media = false;
    for (const fs::path& file : files) {
        if (!holds_nothing(file)) {
            holds_media = true;
            EXPECT_EQ(complaints(file), "") << file;
        }
        fs::remove(file);
    }
    return holds_media;
}

bool record_and_stop(const board& board, storage_card& card, const plan& what) {
    vtrdc_daemon daemon{board};
    EXPECT_TRUE(daemon.wait_for("Display Pipeline set to playing"));
    EXPECT_TRUE(board.wait_for_frames(1));
    EXPECT_EQ(daemon.ask("c:enable_record:i:1"), "r:enable_record:n:");
    carry_out(what, daemon, card);
    EXPECT_EQ(daemon.wait_exit(STOP_LIMIT), 0);
    EXPECT_EQ(daemon.count("[INFO]: Goodbye\n"), 1);
    EXPECT_EQ(daemon.count("by force"), 0);
    return judge_recording(board.at("/media/video"));
}

} // namespace

void expect_stops_to_lose_nothing(std::uint64_t seed, int count) {
    const board board;
    storage_card card{board.at("/media")};
    if (!card.is_mounted()) {
        GTEST_SKIP() << "mounting an image takes root's rights and a loop device";
    }
    setpgid(0, 0); // so that a signal to the group reaches nobody else
    dice dice{seed};
    int tried = 0;
    for (int played = 0; played < count && !testing::Test::HasFailure(); ++tried) {
        const plan what = draw(dice);
        SCOPED_TRACE("stop " + std::to_string(tried) + ": " + describe(what));
        played += record_and_stop(board, card, what) ? 1 : 0;
    }
    std::cout << tried - count << " further stops came before the first picture" << std::endl;
}

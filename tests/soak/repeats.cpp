// Repeats actions for minutes: nothing may leak or get lost.
#include "flatness.h"
#include "support/daemon.h"
#include "support/media.h"
#include "support/network.h"

#include <gtest/gtest.h>
#include <iostream>

namespace {

namespace fs = std::filesystem;

constexpr const char* END_OF_PIPE = "Got EoS event on pipe ";

void ask_for(vtrdc_daemon& daemon, const std::string& command, int number) {
    ASSERT_EQ(daemon.ask("c:" + command + ":i:" + std::to_string(number)), "r:" + command + ":n:");
}

// The only recording must have picture and sound, and play. Removes it.
void judge_recording(const board& board) {
    const std::vector<fs::path> files = files_in(board.at("/media/video"));
    ASSERT_EQ(files.size(), 1U);
    EXPECT_EQ(complaints(files.front()), "");
    const media found = probe(files.front());
    EXPECT_TRUE(found.video && found.video->packets.front().key);
    EXPECT_TRUE(found.audio);
    fs::remove(files.front());
}

TEST(Repeats, StartsAndStopsOfAllOutputs) {
    constexpr int cycles = 60;
    constexpr int pipes = 7; // three outputs and their branches
    constexpr std::size_t bytes = 50'000;
    const int push_port = free_port();
    const int tcp_port = free_port();
    push_server server{push_port};
    const board board{"tcp_stream_port=" + std::to_string(tcp_port) +
                      "\nhttp_url=http://127.0.0.1:" + std::to_string(push_port) + "/channel\n"};
    vtrdc_daemon daemon{board, {}, flatness::environment()};
    ASSERT_TRUE(daemon.wait_until_live());
    flatness held;
    for (int cycle = 1; cycle <= cycles && !testing::Test::HasFailure(); ++cycle) {
        for (const int on : {1, 0}) {
            for (const char* const output : {"record", "tcp_stream", "http_stream"}) {
                ask_for(daemon, std::string{"enable_"} + output, on);
            }
            if (on != 0) {
                EXPECT_GE(stream_client{tcp_port}.read(bytes).size(), bytes);
                EXPECT_TRUE(server.wait_for_bytes(bytes));
                EXPECT_TRUE(board.wait_for_frames(30));
            }
        }
        ASSERT_TRUE(daemon.wait_for_count(END_OF_PIPE, cycle * pipes));
        EXPECT_EQ(server.connections(), cycle);
        judge_recording(board);
        held.look_at(daemon.pid(), [&board] { EXPECT_TRUE(board.wait_for_frames(3)); });
    }
    held.expect_flat();
    EXPECT_EQ(daemon.stop(), 0);
}

TEST(Repeats, SplitsOfARecordingForAMinute) {
    const board board{"record_max_len=1\n"};
    fs::remove(board.at("/dev/video0"));
    write_numbered_footage(board.at("/dev/video0"));
    vtrdc_daemon daemon{board};
    ASSERT_TRUE(daemon.wait_until_live());
    ask_for(daemon, "enable_record", 1);
    ASSERT_TRUE(board.wait_for_frames(65 * 30, std::chrono::minutes{3}));
    ask_for(daemon, "enable_record", 0);
    ASSERT_TRUE(daemon.wait_for("Got EoS event on pipe 5\n"));
    const std::vector<fs::path> files = files_in(board.at("/media/video"));
    EXPECT_GT(files.size(), 30U);
    std::size_t pictures = 0;
    for (const fs::path& file : files) {
        EXPECT_EQ(complaints(file), "") << file;
        pictures += probe(file).video->packets.size();
    }
    const left_out_pictures left_out = follow_pictures(files);
    std::cout << files.size() << " files, " << pictures
              << " pictures; left out between files: " << left_out.between_files
              << ", within: " << left_out.within_files << std::endl;
    EXPECT_EQ(left_out.between_files, 0);
    EXPECT_LE(left_out.within_files, static_cast<int>(pictures / 20));
    EXPECT_EQ(daemon.stop(), 0);
}

// Each loads the scene again.
TEST(Repeats, RebuildsOfTheLiveView) {
    constexpr int rebuilds = 300;
    constexpr int until_settled = 20;
    // Growth over all measurements may be 2 MB. The compared medians of the first and last quarter
    // are three quarters of them apart.
    constexpr long spare_memory_kb = 2048 * 3 / 4;
    const board board;
    vtrdc_daemon daemon{board, {}, {"MALLOC_ARENA_MAX=1"}};
    ASSERT_TRUE(daemon.wait_until_live());
    flatness held;
    for (int rebuild = 1; rebuild <= rebuilds && !testing::Test::HasFailure(); ++rebuild) {
        ask_for(daemon, "kill_pipe", 0);
        ASSERT_TRUE(daemon.wait_for("Splash Pipeline set to playing"));
        ask_for(daemon, "kill_pipe", 6);
        ASSERT_TRUE(daemon.wait_for(std::string{END_OF_PIPE} + "6\n"));
        ask_for(daemon, "create_pipe", 0);
        ask_for(daemon, "create_pipe", 1);
        ASSERT_TRUE(board.wait_for_frames(5));
        if (rebuild >= until_settled) {
            held.look_at(daemon.pid(), [&board] { EXPECT_TRUE(board.wait_for_frames(1)); });
        }
    }
    held.expect_flat(spare_memory_kb);
    EXPECT_EQ(daemon.stop(), 0);
}

} // namespace

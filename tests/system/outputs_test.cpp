// Recording, TCP stream and HTTP push together: which pipes exist, for every order of starting and
// stopping.
#include "support/daemon.h"
#include "support/media.h"
#include "support/network.h"
#include "support/resources.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <optional>
#include <set>
#include <sys/socket.h>
#include <unistd.h>

using testing::HasSubstr;

namespace {

using pipe_names = std::set<std::string>;

struct output {
    std::string command;
    int pipe;
    std::string name; // of its pipeline
    std::string video_encoder;
    bool has_sound;
};

const output RECORD{"enable_record", 5, "record-pipe", "record-videnc-pipe", true};
const output TCP{"enable_tcp_stream", 4, "stream-pipe", "stream-videnc-pipe", true};
const output HTTP{"enable_http_stream", 7, "http-stream-pipe", "stream-videnc-pipe", false};
const std::vector<output> ALL{TCP, RECORD, HTTP}; // sorted, for permutations

bool operator<(const output& one, const output& other) {
    return one.pipe < other.pipe;
}

// Expected pipes: branches are created with the first output that needs them and end with the last
// output.
class expected_pipes {
public:
    explicit expected_pipes(int enc_type) : enc_type_{enc_type} {}

    // False if the output doesn't exist for the encoding type.
    bool start(const output& which) {
        if (enc_type_ == 2 && !which.has_sound) {
            return false;
        }
        outputs_.insert(which.name);
        if (enc_type_ != 2) {
            branches_.insert({"vidtransformer-pipe", which.video_encoder});
        }
        if (enc_type_ != 1 && which.has_sound) {
            branches_.insert("audenc-pipe");
        }
        return true;
    }
    // Number of pipes that end.
    int stop(const output& which) {
        int ended = static_cast<int>(outputs_.erase(which.name));
        if (ended > 0 && outputs_.empty()) {
            ended += static_cast<int>(branches_.size());
            branches_.clear();
        }
        return ended;
    }
    [[nodiscard]] pipe_names all() const {
        pipe_names names{"src-pipe", "display-pipe"};
        names.insert(outputs_.begin(), outputs_.end());
        names.insert(branches_.begin(), branches_.end());
        return names;
    }

private:
    int enc_type_;
    pipe_names outputs_;
    pipe_names branches_;
};

class OutputsTest : public testing::TestWithParam<int> {
protected:
    void SetUp() override { ASSERT_TRUE(daemon_.wait_until_live()); }
    void TearDown() override { EXPECT_EQ(daemon_.stop(), 0); }

    static std::string settings(int push_port) {
        return "enc_type=" + std::to_string(GetParam()) +
               "\ntcp_stream_port=" + std::to_string(free_port()) +
               "\nhttp_url=http://127.0.0.1:" + std::to_string(push_port) + "/channel\n";
    }

    // Pipelines in a dump.
    pipe_names pipes() {
        const std::size_t before = daemon_.output().size();
        EXPECT_EQ(daemon_.ask("c:pipeline_state:n:"), "r:pipeline_state:n:");
        const std::string dump = daemon_.output().substr(before);
        const std::string begin = "-- Bin -- [";
        pipe_names names;
        for (std::size_t at = dump.find(begin); at != std::string::npos;
             at = dump.find(begin, at + 1)) {
            const std::size_t name = at + begin.size();
            names.insert(dump.substr(name, dump.find(']', name) - name));
        }
        std::erase_if(names, [](const std::string& name) { return !name.ends_with("-pipe"); });
        return names;
    }

    std::string switch_output(const output& which, bool on) {
        return daemon_.ask("c:" + which.command + ":i:" + (on ? "1" : "0"));
    }
    void start(const output& which) {
        const char* const type = expected_.start(which) ? "r:" : "e:";
        EXPECT_EQ(switch_output(which, true), type + which.command + ":n:");
        EXPECT_EQ(pipes(), expected_.all());
    }
    void stop(const output& which) {
        EXPECT_EQ(switch_output(which, false), "r:" + which.command + ":n:");
        await_end(which);
    }
    void await_end(const output& which) {
        ended_ += expected_.stop(which);
        ASSERT_TRUE(daemon_.wait_for_count("Got EoS event on pipe ", ended_));
        EXPECT_EQ(pipes(), expected_.all());
    }

    int push_port_ = free_port();
    push_server server_{push_port_};
    board board_{settings(push_port_)};
    vtrdc_daemon daemon_{board_};
    expected_pipes expected_{GetParam()};
    int ended_ = 0;
};

TEST_P(OutputsTest, RightPipesInEveryOrder) {
    EXPECT_EQ(pipes(), expected_.all());
    std::vector<output> order = ALL;
    do {
        for (const output& which : order) {
            start(which);
        }
        // Stops in the order of a different permutation each time.
        std::vector<output> stops = order;
        std::rotate(stops.begin(), stops.begin() + 1, stops.end());
        for (const output& which : stops) {
            stop(which);
        }
    } while (std::next_permutation(order.begin(), order.end()));
    EXPECT_EQ(daemon_.count("already sent"), 0);
}

TEST_P(OutputsTest, StoppedTwiceOrKilledCountsOnce) {
    for (const bool kill_it : {false, true}) {
        start(TCP);
        start(RECORD);
        // Both requests arrive before the pipe has ended, or the second finds nothing to stop.
        for (int repeat = 0; repeat < 3; ++repeat) {
            const std::string request = kill_it ? "c:kill_pipe:i:5" : "c:enable_record:i:0";
            EXPECT_THAT(daemon_.ask(request), HasSubstr("r:"));
        }
        await_end(RECORD);
        start(RECORD);
        stop(RECORD);
        stop(TCP);
    }
}

TEST_P(OutputsTest, EncodingTypeIsFixedWhileRecordingOrServing) {
    const std::string other = std::to_string((GetParam() + 1) % 3);
    for (const output& which : {RECORD, TCP}) {
        start(which);
        EXPECT_EQ(daemon_.ask("c:set_enc_type:i:" + other), "e:set_enc_type:n:");
        stop(which);
    }
    EXPECT_EQ(daemon_.ask("c:get_enc_type:n:"), "r:get_enc_type:s:" + std::to_string(GetParam()));
}

TEST_P(OutputsTest, StartsAndStopsLeaveNothingBehind) {
    constexpr int warm_up = 3;
    constexpr int cycles = 20;
    resources before;
    for (int cycle = 0; cycle < warm_up + cycles; ++cycle) {
        if (cycle == warm_up) {
            before = resources_of(daemon_.pid());
        }
        for (const output& which : ALL) {
            switch_output(which, true);
            expected_.start(which);
        }
        for (const output& which : ALL) {
            switch_output(which, false);
            ended_ += expected_.stop(which);
        }
        ASSERT_TRUE(daemon_.wait_for_count("Got EoS event on pipe ", ended_));
    }
    const resources after = resources_of(daemon_.pid());
    EXPECT_EQ(pipes(), expected_.all());
    // Threads of GStreamer's pools come and go, with descriptors; one leaked in each cycle would
    // add up.
    EXPECT_LT(after.descriptors, before.descriptors + cycles / 2);
    EXPECT_LT(after.threads, before.threads + cycles / 2);
}

INSTANTIATE_TEST_SUITE_P(EncodingTypes, OutputsTest, testing::Values(0, 1, 2));

// Its sound comes from an existing branch, its pictures from a new one.
TEST(Outputs, RecordingThatJoinsAStreamIsSynchronous) {
    const board board{"tcp_stream_port=" + std::to_string(free_port()) + "\n"};
    vtrdc_daemon daemon{board};
    ASSERT_TRUE(daemon.wait_until_live());
    EXPECT_EQ(daemon.ask("c:enable_tcp_stream:i:1"), "r:enable_tcp_stream:n:");
    ASSERT_TRUE(board.wait_for_frames(60));
    EXPECT_EQ(daemon.ask("c:enable_record:i:1"), "r:enable_record:n:");
    ASSERT_TRUE(board.wait_for_frames(60));
    EXPECT_EQ(daemon.stop(), 0);
    const media recorded = probe(files_in(board.at("/media/video")).front());
    ASSERT_TRUE(recorded.video && recorded.audio);
    EXPECT_NEAR(recorded.video->start(), recorded.audio->start(), 0.3);
    EXPECT_NEAR(recorded.video->end(), recorded.audio->end(), 0.3);
    EXPECT_NEAR(static_cast<double>(recorded.video->packets.size()), 60.0, 20.0);
}

// Its encoder keeps running for the stream when the first recording ends.
TEST(Outputs, RecordingThatJoinsARunningEncoderBeginsWithAKeyFrame) {
    const board board{"record_enc_gop=300\ntcp_stream_port=" + std::to_string(free_port()) + "\n"};
    vtrdc_daemon daemon{board};
    ASSERT_TRUE(daemon.wait_until_live());
    EXPECT_EQ(daemon.ask("c:enable_tcp_stream:i:1"), "r:enable_tcp_stream:n:");
    for (int recording = 1; recording <= 3; ++recording) {
        EXPECT_EQ(daemon.ask("c:enable_record:i:1"), "r:enable_record:n:");
        ASSERT_TRUE(board.wait_for_frames(45));
        EXPECT_EQ(daemon.ask("c:enable_record:i:0"), "r:enable_record:n:");
        ASSERT_TRUE(daemon.wait_for_count("Got EoS event on pipe 5\n", recording));
        const std::filesystem::path file = files_in(board.at("/media/video")).back();
        EXPECT_EQ(complaints(file), "");
        EXPECT_TRUE(probe(file).video->packets.front().key);
    }
    EXPECT_EQ(daemon.count("Creating record video encoding.."), 1);
    EXPECT_EQ(daemon.stop(), 0);
}

// Data for a paused pipe is dropped, not queued: a raw picture has 3 MB.
TEST(Outputs, PausedPipesKeepNoPictures) {
    const board board{"tcp_stream_port=" + std::to_string(free_port()) + "\n"};
    vtrdc_daemon daemon{board, {"-v"}};
    ASSERT_TRUE(daemon.wait_until_live());
    EXPECT_EQ(daemon.ask("c:enable_tcp_stream:i:1"), "r:enable_tcp_stream:n:");
    EXPECT_EQ(daemon.ask("c:enable_record:i:1"), "r:enable_record:n:");
    ASSERT_TRUE(daemon.wait_for("Enough space to continue recoding.\n"));
    for (const char* const pipe : {"1", "8", "2", "9"}) {
        const long before = resources_of(daemon.pid()).memory_kb;
        EXPECT_EQ(daemon.ask(std::string{"c:pause_pipe:i:"} + pipe), "r:pause_pipe:n:");
        for (int second = 0; second < 3; ++second) {
            ASSERT_TRUE(daemon.wait_for("Enough space to continue recoding.\n"));
        }
        EXPECT_LT(resources_of(daemon.pid()).memory_kb, before + 40'000) << pipe;
        EXPECT_EQ(daemon.ask(std::string{"c:resume_pipe:i:"} + pipe), "r:resume_pipe:n:");
    }
    EXPECT_EQ(daemon.stop(), 0);
}

// The graph of a pipe, as the daemon has written it.
std::string graph(const board& board, const std::string& pipe) {
    for (const auto& file : files_in(board.at("/home/root"))) {
        if (file.filename().string().starts_with(pipe + "_2")) {
            return read_text(file);
        }
    }
    return {};
}

TEST(Outputs, EncodersHaveTheirOwnSettingsAndFormat) {
    const board board{"record_enc_bitrate=1001\nrecord_enc_gop=31\nrecord_enc_search_range=2\n"
                      "stream_enc_bitrate=1002\nstream_enc_gop=32\nstream_enc_idr=33\n"
                      "stream_enc_search_range=1\naud_enc_bitrate=64\n"
                      "tcp_stream_port=" +
                      std::to_string(free_port()) + "\n"};
    vtrdc_daemon daemon{board};
    ASSERT_TRUE(daemon.wait_until_live());
    EXPECT_EQ(daemon.ask("c:enable_record:i:1"), "r:enable_record:n:");
    EXPECT_EQ(daemon.ask("c:enable_tcp_stream:i:1"), "r:enable_tcp_stream:n:");
    ASSERT_TRUE(board.wait_for_frames(15));
    EXPECT_EQ(daemon.ask("c:create_dot:n:"), "r:create_dot:n:");
    EXPECT_THAT(graph(board, "record_video_enc"),
                HasSubstr("[>]\\nbitrate=1001\\ngop-size=31\\nme-search-range=2\""));
    EXPECT_THAT(
        graph(board, "stream_vid_enc"),
        HasSubstr("[>]\\nbitrate=1002\\ngop-size=32\\nidr-interval=33\\nme-search-range=1\""));
    EXPECT_THAT(graph(board, "audio_enc"), HasSubstr("[>]\\nbitrate=64"));
    // The transformer was told, while it ran, what the encoders take.
    EXPECT_THAT(graph(board, "transformer"),
                testing::AllOf(HasSubstr("format: NV12"), testing::Not(HasSubstr("format: I420"))));
    EXPECT_EQ(daemon.stop(), 0);
}

// Only the HTTP push allows changing the type: all branches must still end.
TEST(Outputs, TypeThatChangedSinceTheStartEndsAllBranches) {
    const int port = free_port();
    push_server server{port};
    const board board{"http_url=http://127.0.0.1:" + std::to_string(port) + "/channel\n"};
    vtrdc_daemon daemon{board};
    ASSERT_TRUE(daemon.wait_until_live());
    EXPECT_EQ(daemon.ask("c:enable_http_stream:i:1"), "r:enable_http_stream:n:");
    EXPECT_EQ(daemon.ask("c:set_enc_type:i:2"), "r:set_enc_type:n:");
    EXPECT_EQ(daemon.ask("c:enable_http_stream:i:0"), "r:enable_http_stream:n:");
    EXPECT_TRUE(daemon.wait_for("[INFO]: Sending eos on pipe: 8\n"));
    EXPECT_TRUE(daemon.wait_for("[INFO]: Sending eos on pipe: 9\n"));
    EXPECT_TRUE(daemon.wait_for("[INFO]: Sending eos on pipe: 7\n"));
    EXPECT_TRUE(daemon.wait_for_count("Got EoS event on pipe ", 3));
    EXPECT_EQ(daemon.stop(), 0);
}

TEST(Outputs, StartWhileEndingIsRefusedAndWorksLater) {
    const board board;
    vtrdc_daemon daemon{board};
    ASSERT_TRUE(daemon.wait_until_live());
    EXPECT_EQ(daemon.ask("c:enable_record:i:1"), "r:enable_record:n:");
    // Sent at once, so that no end is handled in between.
    const int first = daemon.connect();
    const int second = daemon.connect();
    EXPECT_EQ(ask_over(first, "c:get_lum:n:"), "r:get_lum:s:0");
    EXPECT_EQ(ask_over(second, "c:get_lum:n:"), "r:get_lum:s:0");
    daemon.signal(SIGSTOP);
    constexpr std::string_view stop = "c:enable_record:i:0";
    constexpr std::string_view start = "c:enable_record:i:1";
    EXPECT_GT(send(first, stop.data(), stop.size(), 0), 0);
    EXPECT_GT(send(second, start.data(), start.size(), 0), 0);
    daemon.signal(SIGCONT);
    EXPECT_TRUE(daemon.wait_for("[INFO]: Sending eos on pipe: 5\n"));
    EXPECT_TRUE(daemon.wait_for("[WARN]: Pipe 5 is still ending, try again in a moment\n"));
    std::array<char, 64> reply{};
    EXPECT_GT(recv(second, reply.data(), reply.size() - 1, 0), 0);
    EXPECT_STREQ(reply.data(), "e:enable_record:n:");
    EXPECT_TRUE(daemon.wait_for_count("Got EoS event on pipe ", 4));
    EXPECT_EQ(daemon.ask("c:enable_record:i:1"), "r:enable_record:n:");
    EXPECT_EQ(daemon.count("Creating record branch.. "), 2);
    EXPECT_EQ(daemon.stop(), 0);
    // Once for all recordings.
    EXPECT_EQ(read_text(board.at("/var/log/amixer.log")), "-c 0 set DMic Rate 128x\n");
    close(first);
    close(second);
}

} // namespace

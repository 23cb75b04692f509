// The network streams with clients and servers of all kinds.
#include "support/daemon.h"
#include "support/media.h"
#include "support/network.h"

#include <chrono>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <optional>

using testing::StartsWith;

namespace {

class StreamTest : public testing::Test {
protected:
    void start_daemon(const std::string& settings = "") {
        std::ofstream{board_.at("/etc/vtrdc.conf")} << settings << "tcp_stream_port=" << tcp_port_
                                                    << "\nhttp_url=http://127.0.0.1:" << http_port_
                                                    << "/upload/channel\n";
        daemon_.emplace(board_);
        ASSERT_TRUE(daemon_->wait_until_live());
    }
    void ask_for(const std::string& command, bool on) {
        EXPECT_EQ(daemon_->ask("c:" + command + ":i:" + (on ? "1" : "0")), "r:" + command + ":n:");
    }

    // Checks what was received, as a file.
    [[nodiscard]] std::filesystem::path kept(const std::string& name,
                                             const std::string& bytes) const {
        const std::filesystem::path file = board_.at("/tmp/" + name);
        std::ofstream{file, std::ios::binary} << bytes;
        return file;
    }
    void expect_clean(const std::string& name, const std::string& stream) const {
        EXPECT_EQ(continuity_breaks(stream), 0) << name;
        const std::filesystem::path file = kept(name + ".ts", whole_pictures(stream));
        const media found = probe(file);
        ASSERT_TRUE(found.video) << name;
        EXPECT_EQ(found.video->codec, "h264");
        EXPECT_EQ(found.video->width, 1024);
        EXPECT_EQ(found.video->height, 768);
        ASSERT_TRUE(found.audio) << name;
        EXPECT_EQ(found.audio->codec, "mp3");
        EXPECT_EQ(complaints(file), "") << name;
    }

    board board_;
    int tcp_port_ = free_port();
    int http_port_ = free_port();
    std::optional<vtrdc_daemon> daemon_;
};

// About three seconds of the stream.
constexpr std::size_t SOME_SECONDS = 600'000;

TEST_F(StreamTest, EveryClientGetsAValidStreamWhateverOthersDo) {
    start_daemon();
    ask_for("enable_tcp_stream", true);
    stream_client first{tcp_port_};
    const stream_client never_reads{tcp_port_};
    std::string stream = first.read(SOME_SECONDS / 2);
    stream_client late{tcp_port_};
    {
        stream_client leaves_abruptly{tcp_port_};
        EXPECT_FALSE(leaves_abruptly.read(1000).empty());
    }
    expect_clean("late", late.read(SOME_SECONDS));
    expect_clean("first", stream + first.read(SOME_SECONDS));
    ask_for("enable_tcp_stream", false);
    EXPECT_TRUE(first.is_closed_in_time());
    EXPECT_EQ(daemon_->stop(), 0);
}

TEST_F(StreamTest, OfSoundOnlyAndOfVideoOnly) {
    start_daemon("enc_type=2\n");
    ask_for("enable_tcp_stream", true);
    const media sound = probe(kept("sound.ts", stream_client{tcp_port_}.read(40'000)));
    EXPECT_TRUE(sound.audio);
    EXPECT_FALSE(sound.video);
    ask_for("enable_tcp_stream", false);
    ASSERT_TRUE(daemon_->wait_for_count("Got EoS event on pipe ", 2));
    ask_for("set_enc_type", true); // to 1
    ask_for("enable_tcp_stream", true);
    const media pictures = probe(kept("video.ts", stream_client{tcp_port_}.read(SOME_SECONDS)));
    EXPECT_TRUE(pictures.video);
    EXPECT_FALSE(pictures.audio);
    EXPECT_EQ(daemon_->stop(), 0);
}

TEST_F(StreamTest, PushResumesWhenTheServerReturns) {
    start_daemon();
    ask_for("enable_http_stream", true);
    EXPECT_TRUE(daemon_->wait_for("[INFO]: event detected\n"));
    for (int life = 0; life < 2; ++life) {
        push_server server{http_port_};
        EXPECT_TRUE(server.wait_for_bytes(SOME_SECONDS));
        EXPECT_THAT(server.head(), StartsWith("POST /upload/channel HTTP/1.1\r\n"));
        const std::filesystem::path file = kept("push.h264", server.body());
        const media found = probe(file);
        ASSERT_TRUE(found.video);
        EXPECT_EQ(found.video->codec, "h264");
        EXPECT_EQ(found.video->width, 1024);
        EXPECT_TRUE(found.video->packets.front().key);
    }
    // While the server is dead the daemon must respond.
    for (int request = 0; request < 50; ++request) {
        const auto asked = std::chrono::steady_clock::now();
        EXPECT_EQ(daemon_->ask("c:get_lum:n:"), "r:get_lum:s:0");
        EXPECT_LT(std::chrono::steady_clock::now() - asked, std::chrono::seconds{1});
        EXPECT_TRUE(board_.wait_for_frames(2));
    }
    ask_for("enable_http_stream", false);
    EXPECT_TRUE(daemon_->wait_for("[INFO]: Got EoS event on pipe 7\n"));
    EXPECT_EQ(daemon_->stop(), 0);
}

TEST_F(StreamTest, PushUsesOneConnectionFromTheFirstPictureOn) {
    push_server server{http_port_};
    start_daemon();
    ask_for("enable_http_stream", true);
    EXPECT_TRUE(server.wait_for_bytes(4 * SOME_SECONDS));
    EXPECT_EQ(server.connections(), 1);
    EXPECT_EQ(daemon_->count("event detected"), 0);
    EXPECT_EQ(daemon_->count("[WARN]"), 0);
    EXPECT_EQ(daemon_->stop(), 0);
}

TEST_F(StreamTest, PushToAServerThatNeverReadsEnds) {
    start_daemon("stream_enc_bitrate=20000\n");
    push_server server{http_port_, true};
    ask_for("enable_http_stream", true);
    ASSERT_TRUE(server.wait_for_client());
    ASSERT_TRUE(board_.wait_for_frames(120));
    ask_for("enable_http_stream", false);
    EXPECT_TRUE(daemon_->wait_for("[INFO]: Got EoS event on pipe 7\n"));
    EXPECT_EQ(daemon_->ask("c:get_lum:n:"), "r:get_lum:s:0");
    EXPECT_EQ(daemon_->stop(), 0);
}

// Of 200, the first 32 are served; when one leaves, its place is free.
TEST_F(StreamTest, ViewersBeyondTheLimitAreRefused) {
    start_daemon();
    ask_for("enable_tcp_stream", true);
    std::vector<std::unique_ptr<stream_client>> viewers;
    for (int viewer = 0; viewer < 32; ++viewer) {
        viewers.push_back(std::make_unique<stream_client>(tcp_port_));
        EXPECT_FALSE(viewers.back()->read(1).empty());
    }
    for (int viewer = 32; viewer < 200; ++viewer) {
        EXPECT_TRUE(stream_client{tcp_port_}.is_closed_in_time());
    }
    EXPECT_TRUE(daemon_->wait_for("There are 32 viewers, further ones are refused\n"));
    EXPECT_EQ(daemon_->count("further ones are refused"), 1);
    EXPECT_EQ(daemon_->ask("c:get_lum:n:"), "r:get_lum:s:0");
    viewers.pop_back();
    for (const auto& viewer : viewers) {
        EXPECT_FALSE(viewer->read(1).empty());
    }
    // Refused until the server has noticed the free place.
    bool is_served = false;
    for (int attempt = 0; attempt < 1000 && !is_served; ++attempt) {
        is_served = !stream_client{tcp_port_}.read(1).empty();
    }
    EXPECT_TRUE(is_served);
    EXPECT_EQ(daemon_->stop(), 0);
}

TEST_F(StreamTest, EverythingEndsInTime) {
    start_daemon();
    push_server server{http_port_};
    ask_for("enable_record", true);
    ask_for("enable_tcp_stream", true);
    ask_for("enable_http_stream", true);
    stream_client client{tcp_port_};
    EXPECT_TRUE(server.wait_for_bytes(SOME_SECONDS / 6));
    EXPECT_FALSE(client.read(SOME_SECONDS / 6).empty());
    EXPECT_EQ(daemon_->stop(), 0);
    const std::vector<std::filesystem::path> files = files_in(board_.at("/media/video"));
    ASSERT_EQ(files.size(), 1U);
    EXPECT_EQ(complaints(files.front()), "");
    probe(files.front());
}

TEST_F(StreamTest, PushOfSoundOnlyIsRefused) {
    start_daemon("enc_type=2\n");
    EXPECT_EQ(daemon_->ask("c:enable_http_stream:i:1"), "e:enable_http_stream:n:");
    EXPECT_EQ(daemon_->count("Creating "), 0);
    EXPECT_EQ(daemon_->stop(), 0);
}

} // namespace

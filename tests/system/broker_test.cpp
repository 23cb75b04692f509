// The link to the broker: a real Redis server on the board's socket, in each of its states.
#include "support/daemon.h"
#include "support/file_watch.h"

#include <csignal>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

// A program that runs as long as its scope.
class background_program {
public:
    background_program(const std::vector<std::string>& command, const std::filesystem::path& output)
        : pid_{spawn(command, environment_with({}), output)} {}
    background_program(const background_program&) = delete;
    background_program& operator=(const background_program&) = delete;
    ~background_program() { end(); }
    void end() {
        if (pid_ > 0) {
            kill(pid_, SIGKILL);
            wait_for_exit(pid_, WAIT_LIMIT);
            pid_ = -1;
        }
    }

private:
    pid_t pid_;
};

class BrokerTest : public testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(daemon_.wait_until_live()); }
    void TearDown() override { EXPECT_EQ(daemon_.stop(), 0); }

    [[nodiscard]] std::vector<std::string> server_command() const {
        return {"/usr/bin/redis-server", "--port", "0", "--unixsocket", socket_, "--save", ""};
    }
    [[nodiscard]] bool wait_for_text(const std::filesystem::path& file, const char* text) const {
        return wait_for_file(
            file, [&] { return read_text(file).find(text) != std::string::npos; }, WAIT_LIMIT);
    }
    void lose_camera() {
        ASSERT_EQ(board_.sim({"camera", "off"}), 0);
        ASSERT_TRUE(daemon_.wait_for("Splash Pipeline set to playing"));
    }

    board board_;
    std::string socket_ = board_.at("/run/redis.sock");
    std::filesystem::path server_output_ = board_.at("/tmp/redis.out");
    vtrdc_daemon daemon_{board_};
};

TEST_F(BrokerTest, NoticeReachesTheSubscriber) {
    const background_program server{server_command(), server_output_};
    ASSERT_TRUE(wait_for_text(server_output_, "ready to accept connections"));
    const std::filesystem::path heard = board_.at("/tmp/heard");
    const background_program subscriber{
        {"/usr/bin/redis-cli", "-s", socket_, "SUBSCRIBE", "VTRDC.VIDEO.DONE"}, heard};
    ASSERT_TRUE(wait_for_text(heard, "subscribe"));
    EXPECT_EQ(daemon_.ask("c:disable_kbd:n:"), "r:disable_kbd:n:");
    EXPECT_TRUE(daemon_.wait_for("[INFO]: Connected to redis: /run/redis.sock\n"));
    EXPECT_EQ(daemon_.ask("c:disable_kbd:n:"), "r:disable_kbd:n:");
    lose_camera();
    EXPECT_TRUE(wait_for_text(
        heard, "{ \"VTRDC\": {\"message\": \"No input video signal\", \"code\": 1 }}"));
    EXPECT_EQ(daemon_.count("Connected to redis"), 1);
}

TEST_F(BrokerTest, ComesUpLaterAndGoesDownAgain) {
    EXPECT_EQ(daemon_.ask("c:disable_kbd:n:"), "r:disable_kbd:n:");
    EXPECT_TRUE(daemon_.wait_for("[WARN]: Redis connect error: No such file or directory\n"));
    background_program server{server_command(), server_output_};
    ASSERT_TRUE(wait_for_text(server_output_, "ready to accept connections"));
    EXPECT_EQ(daemon_.ask("c:disable_kbd:n:"), "r:disable_kbd:n:");
    EXPECT_TRUE(daemon_.wait_for("Connected to redis"));
    server.end();
    lose_camera();
    EXPECT_EQ(daemon_.ask("c:get_lum:n:"), "r:get_lum:s:0");
}

TEST_F(BrokerTest, OneThatNeverAnswersHoldsNobodyUpForLong) {
    const int mute = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    socket_.copy(address.sun_path, sizeof address.sun_path - 1);
    ASSERT_EQ(bind(mute, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(listen(mute, 1), 0);
    EXPECT_EQ(daemon_.ask("c:disable_kbd:n:"), "r:disable_kbd:n:");
    EXPECT_TRUE(daemon_.wait_for("Connected to redis"));
    lose_camera();
    // Answered although the notice was not; the wait for that has an end.
    EXPECT_EQ(daemon_.ask("c:get_lum:n:"), "r:get_lum:s:0");
    close(mute);
}

TEST_F(BrokerTest, NothingIsSaidBeforeTheHandOver) {
    lose_camera();
    EXPECT_EQ(daemon_.ask("c:get_lum:n:"), "r:get_lum:s:0");
    EXPECT_EQ(daemon_.count("edis"), 0);
}

} // namespace

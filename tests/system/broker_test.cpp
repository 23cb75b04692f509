// The connection to the broker: a real Redis server on the board's socket, in various states.
#include "support/daemon.h"
#include "support/file_watch.h"
#include "support/media.h"
#include "support/network.h"
#include "support/storage.h"

#include <csignal>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>
#include <utility>

namespace {

// In the server's output: "The server is now ready to accept connections"; since Redis 7.2 "Ready
// to accept connections".
constexpr const char* SERVER_IS_UP = "eady to accept connections";

// A program that runs until the end of its scope.
class background_program {
public:
    background_program(const std::vector<std::string>& command, const std::filesystem::path& output)
        : pid_{spawn(command, environment_with({}), output)} {}
    background_program(const background_program&) = delete;
    background_program& operator=(const background_program&) = delete;
    ~background_program() {
        kill(pid_, SIGKILL);
        wait_for_exit(pid_, WAIT_LIMIT);
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

    board board_{"tcp_stream_port=" + std::to_string(free_port()) + "\n"};
    std::string socket_ = board_.at("/run/redis.sock");
    std::filesystem::path server_output_ = board_.at("/tmp/redis.out");
    vtrdc_daemon daemon_{board_, {"-v"}};
};

TEST_F(BrokerTest, NoticeReachesTheSubscriber) {
    const background_program server{server_command(), server_output_};
    ASSERT_TRUE(wait_for_text(server_output_, SERVER_IS_UP));
    const std::filesystem::path heard = board_.at("/tmp/heard");
    const background_program subscriber{{"/usr/bin/redis-cli", "-s", socket_, "PSUBSCRIBE", "*"},
                                        heard};
    ASSERT_TRUE(wait_for_text(heard, "subscribe"));
    EXPECT_EQ(daemon_.ask("c:disable_kbd:n:"), "r:disable_kbd:n:");
    EXPECT_TRUE(daemon_.wait_for("[INFO]: Connected to redis: /run/redis.sock\n"));
    EXPECT_EQ(daemon_.ask("c:disable_kbd:n:"), "r:disable_kbd:n:");
    lose_camera();
    EXPECT_TRUE(wait_for_text(heard, "\nVTRDC.VIDEO.DONE\n{ \"VTRDC\": {\"message\": \"No input "
                                     "video signal\", \"code\": 1 }}"));
    EXPECT_EQ(daemon_.count("Connected to redis"), 1);
}

TEST_F(BrokerTest, RunningOutOfSpaceStopsTheRecordingAndSendsANotice) {
    const small_storage storage{board_.at("/media"), "160m"};
    if (!storage.is_mounted()) {
        GTEST_SKIP() << "no right to mount";
    }
    const background_program server{server_command(), server_output_};
    ASSERT_TRUE(wait_for_text(server_output_, SERVER_IS_UP));
    const std::filesystem::path heard = board_.at("/tmp/heard");
    const background_program subscriber{{"/usr/bin/redis-cli", "-s", socket_, "PSUBSCRIBE", "*"},
                                        heard};
    ASSERT_TRUE(wait_for_text(heard, "subscribe"));
    EXPECT_EQ(daemon_.ask("c:disable_kbd:n:"), "r:disable_kbd:n:");
    EXPECT_EQ(daemon_.ask("c:enable_record:i:1"), "r:enable_record:n:");
    EXPECT_EQ(daemon_.ask("c:enable_tcp_stream:i:1"), "r:enable_tcp_stream:n:");
    EXPECT_TRUE(daemon_.wait_for("[DEBUG]: Enough space to continue recoding.\n"));

    storage.resize("100m");
    EXPECT_TRUE(daemon_.wait_for("[WARN]: not enough bytes, asking for 117964800, but have "));
    EXPECT_TRUE(daemon_.wait_for("[INFO]: Sending eos on pipe: 5\n"));
    EXPECT_TRUE(daemon_.wait_for("[WARN]: Ran out of space while recording video.\n"));
    EXPECT_TRUE(wait_for_text(heard, "\nVTRDC.STORAGE.DONE\n{ \"VTRDC\": {\"message\": \"Out of "
                                     "space!\", \"code\": 2 }}"));
    EXPECT_TRUE(daemon_.wait_for("[INFO]: Got EoS event on pipe 5\n"));
    const std::vector<std::filesystem::path> files = files_in(board_.at("/media/video"));
    ASSERT_EQ(files.size(), 1U);
    EXPECT_EQ(complaints(files.front()), "");
    EXPECT_TRUE(probe(files.front()).video);

    EXPECT_EQ(daemon_.count("Sending eos on pipe: 4"), 0) << "the stream goes on";
    EXPECT_EQ(daemon_.ask("c:enable_record:i:1"), "e:enable_record:n:");
    EXPECT_TRUE(daemon_.wait_for("[WARN]: not enough bytes, asking for 117964800, but have "));
    EXPECT_TRUE(daemon_.wait_for("[WARN]: Record: not enough space\n"));
    EXPECT_EQ(files_in(board_.at("/media/video")), files);
}

// A fake server that misbehaves.
class false_server {
public:
    false_server(const std::string& path, int backlog)
        : listening_{socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)} {
        address_.sun_family = AF_UNIX;
        path.copy(address_.sun_path, sizeof address_.sun_path - 1);
        EXPECT_EQ(bind(listening_, generic_address(), sizeof address_), 0);
        EXPECT_EQ(listen(listening_, backlog), 0);
    }
    false_server(const false_server&) = delete;
    false_server& operator=(const false_server&) = delete;
    ~false_server() {
        trickler_ = {};
        for (const int open : {listening_, accepted_, waiting_}) {
            if (open >= 0) {
                close(open);
            }
        }
    }

    void answer_the_client(std::string_view text) {
        accepted_ = accept(listening_, nullptr, nullptr);
        ASSERT_GE(accepted_, 0);
        EXPECT_EQ(send(accepted_, text.data(), text.size(), 0), static_cast<ssize_t>(text.size()));
    }
    // Sends one byte ten times a second.
    void trickle() {
        trickler_ = std::jthread{[client = accepted_](const std::stop_token& stop) {
            while (!stop.stop_requested() && send(client, "x", 1, MSG_NOSIGNAL) == 1) {
                std::this_thread::sleep_for(std::chrono::milliseconds{100});
            }
        }};
    }
    void leave_the_client() {
        shutdown(accepted_, SHUT_RDWR);
        close(std::exchange(accepted_, -1));
    }
    // Occupies the only place in the queue of a server with backlog 0.
    void fill_queue() {
        waiting_ = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        EXPECT_EQ(connect(waiting_, generic_address(), sizeof address_), 0);
    }

private:
    [[nodiscard]] const sockaddr* generic_address() const {
        return reinterpret_cast<const sockaddr*>(&address_);
    }

    sockaddr_un address_{};
    int listening_;
    int accepted_ = -1;
    int waiting_ = -1;
    std::jthread trickler_;
};

struct false_server_case {
    const char* name;
    void (*misbehave)(false_server& server);
};

void PrintTo(const false_server_case& each, std::ostream* out) {
    *out << each.name;
}

const false_server_case false_server_cases[] = {
    {"NeverAnswers", [](false_server&) {}},
    {"TalksNonsense", [](false_server& server) { server.answer_the_client("hello\r\n%s\r\n"); }},
    {"AnswersHalf", [](false_server& server) { server.answer_the_client("$100\r\nhalf"); }},
    {"SendsAByteNowAndThen",
     [](false_server& server) {
         server.answer_the_client("$1000\r\n");
         server.trickle();
     }},
    {"HangsUp",
     [](false_server& server) {
         server.answer_the_client("");
         server.leave_the_client();
     }},
};

class FalseServerTest : public BrokerTest, public testing::WithParamInterface<false_server_case> {};

TEST_P(FalseServerTest, LosesTheNoticeAndBlocksOnlyBriefly) {
    false_server server{socket_, 1};
    EXPECT_EQ(daemon_.ask("c:disable_kbd:n:"), "r:disable_kbd:n:");
    EXPECT_TRUE(daemon_.wait_for("Connected to redis"));
    GetParam().misbehave(server);
    lose_camera();
    // Answered even though the notice was not: waiting for the server is limited.
    const auto asked = std::chrono::steady_clock::now();
    EXPECT_EQ(daemon_.ask("c:get_lum:n:"), "r:get_lum:s:0");
    EXPECT_LT(std::chrono::steady_clock::now() - asked, std::chrono::seconds{3});
    // The broken connection is kept.
    EXPECT_EQ(daemon_.ask("c:disable_kbd:n:"), "r:disable_kbd:n:");
    EXPECT_EQ(daemon_.count("Connected to redis"), 1);
}

INSTANTIATE_TEST_SUITE_P(Ways, FalseServerTest, testing::ValuesIn(false_server_cases),
                         testing::PrintToStringParamName());

TEST_F(BrokerTest, ServerThatAcceptsNobodyIsAWarningInTime) {
    false_server server{socket_, 0};
    server.fill_queue();
    EXPECT_EQ(daemon_.ask("c:disable_kbd:n:"), "r:disable_kbd:n:");
    EXPECT_TRUE(daemon_.wait_for("[WARN]: Redis connect error: "));
    EXPECT_EQ(daemon_.count("Connected to redis"), 0);
}

TEST_F(BrokerTest, NothingIsSentBeforeTheHandOver) {
    lose_camera();
    EXPECT_EQ(daemon_.ask("c:get_lum:n:"), "r:get_lum:s:0");
    EXPECT_EQ(daemon_.count("edis"), 0);
}

} // namespace

// Misbehaving clients: others are served, and nothing leaks.
#include "support/daemon.h"

#include <array>
#include <csignal>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

class ClientsTest : public testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(daemon_.wait_until_live()); }
    void TearDown() override {
        is_served();
        EXPECT_EQ(daemon_.stop(), 0);
    }

    void is_served() { EXPECT_EQ(daemon_.ask("c:get_lum:n:"), "r:get_lum:s:0"); }

    [[nodiscard]] long open_descriptors() const {
        const std::filesystem::path folder = "/proc/" + std::to_string(daemon_.pid()) + "/fd";
        return std::distance(std::filesystem::directory_iterator{folder},
                             std::filesystem::directory_iterator{});
    }

    // Closed connections are released in passes of their own, so send requests until then. There
    // may be fewer descriptors than before, when the overlay was reading its scene.
    [[nodiscard]] bool comes_down_to(long descriptors) {
        for (int pass = 0; pass < 200 && open_descriptors() > descriptors; ++pass) {
            is_served();
        }
        return open_descriptors() <= descriptors;
    }

    board board_;
    vtrdc_daemon daemon_{board_};
};

TEST_F(ClientsTest, EachGetsItsOwnReplies) {
    std::vector<int> clients;
    for (int i = 0; i < 12; ++i) {
        clients.push_back(daemon_.connect());
        ASSERT_GE(clients.back(), 0);
    }
    // All send before the first one reads.
    for (std::size_t i = 0; i < clients.size(); ++i) {
        const std::string request = "c:cmd" + std::to_string(i) + ":n:";
        EXPECT_EQ(send(clients[i], request.data(), request.size(), 0),
                  static_cast<ssize_t>(request.size()));
    }
    for (std::size_t i = 0; i < clients.size(); ++i) {
        std::array<char, 256> reply{};
        EXPECT_GT(recv(clients[i], reply.data(), reply.size() - 1, 0), 0);
        EXPECT_EQ(reply.data(), "e:cmd" + std::to_string(i) + ":s:Unknown command");
        close(clients[i]);
    }
}

TEST_F(ClientsTest, ThousandConnectionsLeaveNothingOpen) {
    is_served();
    const long before = open_descriptors();
    for (int i = 0; i < 1000; ++i) {
        const int client = daemon_.connect();
        ASSERT_GE(client, 0);
        if (i % 3 == 0) {
            EXPECT_EQ(ask_over(client, "c:get_pip:n:"), "r:get_pip:s:0");
        } else if (i % 3 == 1) {
            // Closed between request and reply.
            send(client, "c:print_config:n:", 17, 0);
        }
        close(client);
    }
    EXPECT_TRUE(comes_down_to(before)) << open_descriptors() << ", not " << before;
}

TEST_F(ClientsTest, RequestsOfAnyContentAreAnswered) {
    constexpr const char* undecodable = "e:no_cmd:s:Failed to decode the command";
    std::string noise;
    for (int i = 0; i < 600; ++i) {
        noise.push_back(static_cast<char>((i * 7919) % 256));
    }
    const std::string whole = "c:get_lum:n:";
    const struct {
        std::string request;
        std::string reply;
    } cases[] = {
        {std::string(2048, 'a'), undecodable},
        {"c:" + std::string(2046, 'b'), undecodable},
        {whole + std::string(2048 - whole.size(), 'd'), "r:get_lum:s:0"},
        // Only 2048 bytes are read at a time.
        {"c:" + std::string(2042, 'e') + ":n:x",
         "e:" + std::string(2042, 'e') + ":s:Unknown command"},
        {std::string(2048, ':'), undecodable},
        {std::string(1, '\0'), undecodable},
        {std::string(2048, '\0'), undecodable},
        {noise, undecodable},
        {"\xff\xfe" + noise, undecodable},
        {"c:\xff\xfe:n:", "e:\xff\xfe:s:Unknown command"},
        {"c:%s%n%p:s:%n", "e:%s%n%p:s:Unknown command"},
        {"c:set_qml_prop:s:%n,%s,%1000000d%n", "r:set_qml_prop:n:"},
        {"c:set_lum:s:%n%n%n%n", "r:set_lum:n:"},
    };
    const int client = daemon_.connect();
    ASSERT_GE(client, 0);
    for (const auto& each : cases) {
        EXPECT_EQ(ask_over(client, each.request), each.reply) << each.request.substr(0, 60);
    }
    close(client);
}

TEST_F(ClientsTest, BytesBeyondARequestAreTheNext) {
    const int client = daemon_.connect();
    ASSERT_GE(client, 0);
    // Both are in the socket before the stopped daemon reads.
    daemon_.signal(SIGSTOP);
    const std::string both = std::string(2048, 'a') + "c:get_pip:n:";
    EXPECT_EQ(send(client, both.data(), both.size(), 0), static_cast<ssize_t>(both.size()));
    daemon_.signal(SIGCONT);
    const std::string expected = "e:no_cmd:s:Failed to decode the commandr:get_pip:s:0";
    std::string replies(expected.size(), '?');
    EXPECT_EQ(recv(client, replies.data(), replies.size(), MSG_WAITALL),
              static_cast<ssize_t>(expected.size()));
    EXPECT_EQ(replies, expected);
    close(client);
}

TEST_F(ClientsTest, OneThatSaidItAllStillGetsItsReply) {
    is_served();
    const long before = open_descriptors();
    const int client = daemon_.connect();
    ASSERT_GE(client, 0);
    const std::string request = "c:get_pip:n:";
    EXPECT_EQ(send(client, request.data(), request.size(), 0),
              static_cast<ssize_t>(request.size()));
    shutdown(client, SHUT_WR);
    std::string all(64, '\0');
    const ssize_t length = recv(client, all.data(), all.size(), MSG_WAITALL); // until end of file
    EXPECT_EQ(all.substr(0, length > 0 ? static_cast<std::size_t>(length) : 0), "r:get_pip:s:0");
    close(client);
    EXPECT_TRUE(comes_down_to(before));
}

// A client that sends requests and doesn't read the replies.
class ClientsThatDoNotReadTest : public ClientsTest {
protected:
    void SetUp() override {
        ClientsTest::SetUp();
        is_served();
        before_ = open_descriptors();
        client_ = daemon_.connect();
        ASSERT_GE(client_, 0);
        // Each is one request by size, sent only when there is space. Eventually no reply fits any
        // more.
        for (int i = 0; i < 100'000 && daemon_.count(given_up) == 0; ++i) {
            ASSERT_EQ(send(client_, request_.data(), request_.size(), 0),
                      static_cast<ssize_t>(request_.size()));
        }
        ASSERT_TRUE(daemon_.wait_for(given_up));
    }
    void send_on() const {
        while (send(client_, request_.data(), request_.size(), MSG_DONTWAIT) > 0) {
        }
    }

    static constexpr const char* given_up = "[WARN]: Failed to send data through client socket\n";
    const std::string request_ = "c:print_config:n:" + std::string(2048 - 17, 'x');
    long before_ = 0;
    int client_ = -1;
};

TEST_F(ClientsThatDoNotReadTest, DoNotStopTheOthers) {
    for (int i = 0; i < 20; ++i) {
        send_on();
        is_served();
    }
    // When it reads again, it gets replies again.
    std::string replies(1 << 20, '\0');
    while (recv(client_, replies.data(), replies.size(), MSG_DONTWAIT) > 0) {
    }
    send_on();
    EXPECT_GT(recv(client_, replies.data(), replies.size(), 0), 0);
    EXPECT_THAT(replies, testing::HasSubstr("r:print_config:s:socket_file="));
    close(client_);
    EXPECT_TRUE(comes_down_to(before_));
}

// The event table is limited. Continuing without registering a client would leave that client
// waiting forever.
TEST(Clients, ClientsBeyondTheLimitAreAnError) {
    const board board;
    vtrdc_daemon daemon{board};
    ASSERT_TRUE(daemon.wait_until_live());
    std::vector<int> clients;
    for (int i = 0; i < 40; ++i) {
        clients.push_back(daemon.connect());
    }
    EXPECT_EQ(daemon.wait_exit(WAIT_LIMIT), 1);
    EXPECT_THAT(daemon.output(), testing::HasSubstr("]: failed to register client event\n"));
    for (const int client : clients) {
        close(client);
    }
}

} // namespace

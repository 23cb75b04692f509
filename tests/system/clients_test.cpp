// Clients that behave badly: the others are served all the same, and nothing is left behind.
#include "support/daemon.h"

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

    board board_;
    vtrdc_daemon daemon_{board_};
};

TEST_F(ClientsTest, EachGetsItsOwnReplies) {
    std::vector<int> clients;
    for (int i = 0; i < 12; ++i) {
        clients.push_back(daemon_.connect());
        ASSERT_GE(clients.back(), 0);
    }
    // All have asked before the first listens.
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
            // Gone between its request and the reply.
            send(client, "c:print_config:n:", 17, 0);
        }
        close(client);
    }
    is_served();
    is_served();
    EXPECT_EQ(open_descriptors(), before);
}

TEST_F(ClientsTest, RequestsOfAnyContentAreAnswered) {
    const int client = daemon_.connect();
    ASSERT_GE(client, 0);
    EXPECT_EQ(ask_over(client, std::string(2048, 'a')), "e:no_cmd:s:Failed to decode the command");
    EXPECT_EQ(ask_over(client, "c:" + std::string(2046, 'b')),
              "e:no_cmd:s:Failed to decode the command");
    EXPECT_EQ(ask_over(client, "c:%s%n%p:s:%n"), "e:%s%n%p:s:Unknown command");
    EXPECT_EQ(ask_over(client, std::string(1, '\0')), "e:no_cmd:s:Failed to decode the command");
    std::string noise;
    for (int i = 0; i < 600; ++i) {
        noise.push_back(static_cast<char>((i * 7919) % 256));
    }
    EXPECT_THAT(ask_over(client, noise), testing::StartsWith("e:"));
    close(client);
}

TEST_F(ClientsTest, OneThatNeverReadsDoesNotStopTheOthers) {
    const int client = daemon_.connect();
    ASSERT_GE(client, 0);
    // Until the daemon's replies fill both sides, and on.
    const std::string request = "c:print_config:n:";
    for (int i = 0; i < 2000; ++i) {
        if (send(client, request.data(), request.size(), MSG_DONTWAIT) < 0) {
            break;
        }
    }
    ASSERT_TRUE(daemon_.wait_for("[WARN]: Failed to send data through client socket"));
    is_served();
    close(client);
}

} // namespace

// Many simultaneous clients of the command socket, each of which must get exactly its replies.
#include "clients.h"

#include <array>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr int ASKING_PERCENT = 60;
constexpr int LEAVING_PERCENT = 8;
constexpr std::size_t REPLY_SIZE = 65536;

std::string receive(int connection) {
    std::string reply(REPLY_SIZE, '\0');
    const ssize_t length = recv(connection, reply.data(), reply.size(), 0);
    reply.resize(length > 0 ? static_cast<std::size_t>(length) : 0);
    return reply;
}

} // namespace

void clients::join(std::size_t count) {
    while (connections_.size() < std::min(count, MAX)) {
        const int connection = daemon_.connect();
        ASSERT_GE(connection, 0);
        connections_.push_back(connection);
    }
}

void clients::leave(std::size_t count) {
    while (connections_.size() > count) {
        close(connections_.back());
        connections_.pop_back();
    }
}

std::vector<clients::pending> clients::send_all(dice& dice, const sight_state& state) {
    std::vector<pending> waiting;
    for (std::size_t i = connections_.size(); i-- > 0;) {
        if (!dice.chance(ASKING_PERCENT)) {
            continue;
        }
        const int connection = connections_[i];
        request asked = draw_request(dice, state);
        EXPECT_EQ(send(connection, asked.text.data(), asked.text.size(), MSG_NOSIGNAL),
                  static_cast<ssize_t>(asked.text.size()));
        if (dice.chance(LEAVING_PERCENT)) {
            close(connection);
            connections_.erase(connections_.begin() + static_cast<std::ptrdiff_t>(i));
        } else {
            waiting.push_back({connection, std::move(asked)});
        }
    }
    return waiting;
}

void clients::ask(dice& dice, const sight_state& state) {
    for (const pending& each : send_all(dice, state)) {
        const std::string reply = receive(each.connection);
        if (!each.asked.is_answered_by(reply)) {
            ADD_FAILURE() << "asked: " << testing::PrintToString(each.asked.text)
                          << "\nanswered: " << testing::PrintToString(reply)
                          << "\nexpected: " << each.asked.type << " "
                          << testing::PrintToString(each.asked.data);
        }
    }
    settle();
}

void clients::be_greedy(int requests) {
    const int connection = daemon_.connect();
    const std::string text = lengthy_request();
    for (int i = 0; i < requests && connection >= 0; ++i) {
        send(connection, text.data(), text.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    }
    close(connection);
    settle();
}

bool clients::are_quiet() const {
    std::array<char, 1> more{};
    for (const int connection : connections_) {
        if (recv(connection, more.data(), more.size(), MSG_DONTWAIT | MSG_PEEK) != -1) {
            return false;
        }
    }
    return true;
}

void clients::settle() {
    // The second request is served in a later pass than the first.
    for (int pass = 0; pass < 2; ++pass) {
        EXPECT_EQ(daemon_.ask("c:get_pip:n:").substr(0, 12), "r:get_pip:s:");
    }
}

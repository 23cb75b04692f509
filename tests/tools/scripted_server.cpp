// A fake daemon with given replies.
#include "scripted_server.h"

#include <array>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <utility>

scripted_server::scripted_server(const std::filesystem::path& socket_file,
                                 std::vector<std::string> replies)
    : listener_{socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)}, replies_{std::move(replies)} {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    socket_file.string().copy(address.sun_path, sizeof address.sun_path - 1);
    EXPECT_EQ(bind(listener_, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    EXPECT_EQ(listen(listener_, 1), 0);
    if (!replies_.empty()) {
        thread_ = std::thread{[this] { serve(); }};
    }
}

scripted_server::~scripted_server() {
    shutdown(listener_, SHUT_RDWR); // wakes a thread waiting in accept
    if (thread_.joinable()) {
        thread_.join();
    }
    close(listener_);
}

std::vector<std::string> scripted_server::requests() {
    thread_.join();
    return requests_;
}

void scripted_server::serve() {
    const int client = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    std::array<char, 4096> text{};
    for (const std::string& reply : replies_) {
        const ssize_t length = recv(client, text.data(), text.size(), 0);
        if (length <= 0) {
            break;
        }
        requests_.emplace_back(text.data(), static_cast<std::size_t>(length));
        send(client, reply.data(), reply.size(), MSG_NOSIGNAL);
    }
    close(client);
}

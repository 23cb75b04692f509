// The command socket: its file, and clients that don't read.
#include "api/socket.h"
#include "support/temp_folder.h"
#include "util/fd_owned.h"

#include <array>
#include <chrono>
#include <gtest/gtest.h>
#include <span>

namespace {

TEST(CommandSocket, LongPathIsCutAndServesAgain) {
    const temp_folder folder;
    const std::string path = folder.write(std::string(120, 's'), "of somebody else");
    for (int start = 0; start < 2; ++start) {
        const server_owner server = socket_init(AF_UNIX, SOCK_STREAM);
        ASSERT_TRUE(server);
        socket_bind(*server, path.c_str());
        socket_listen(*server);
        socket_close(*server);
    }
    EXPECT_TRUE(std::filesystem::is_socket(path.substr(0, 107)));
    EXPECT_EQ(read_text(path), "of somebody else");
}

// A client that reads nothing and has no space for another reply.
class silent_reader {
public:
    silent_reader() {
        std::array<int, 2> ends{};
        EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()), 0);
        client_.fd = ends[0];
        other_ = fd_owned{ends[1]};
        while (send(client_.fd, REPLY.data(), REPLY.size(), MSG_DONTWAIT) > 0) {
        }
    }
    silent_reader(const silent_reader&) = delete;
    silent_reader& operator=(const silent_reader&) = delete;
    ~silent_reader() { socket_client_close(client_); }

    bool takes_reply() { return socket_send(client_, REPLY.c_str()) > 0; }
    void read() {
        std::string bytes(1 << 20, ' ');
        EXPECT_GT(recv(other_.get(), bytes.data(), bytes.size(), MSG_DONTWAIT), 0);
    }

private:
    inline static const std::string REPLY = std::string(1000, 'r');
    client_socket client_{};
    fd_owned other_;
};

using steady = std::chrono::steady_clock;

steady::duration pass_over(std::span<silent_reader> readers) {
    const auto start = steady::now();
    socket_begin_pass();
    for (silent_reader& reader : readers) {
        EXPECT_FALSE(reader.takes_reply());
    }
    return steady::now() - start;
}

TEST(CommandSocket, SilentReadersTogetherDelayAPassByOneSecond) {
    std::array<silent_reader, 8> readers;
    EXPECT_LT(pass_over(readers), std::chrono::milliseconds{1500});
    // They are known to be stuck now. Another one has not been tried yet.
    EXPECT_LT(pass_over(readers), std::chrono::milliseconds{500});
    readers.front().read();
    EXPECT_TRUE(readers.front().takes_reply());
    silent_reader newcomer;
    EXPECT_GT(pass_over({&newcomer, 1}), std::chrono::milliseconds{900})
        << "that is how long it may take";
}

} // namespace

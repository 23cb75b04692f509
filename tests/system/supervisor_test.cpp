// Notifications to the daemon's supervisor.
#include "support/daemon.h"
#include "util/fd_owned.h"

#include <array>
#include <csignal>
#include <cstddef>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

// The supervisor's end of the socket.
class supervisor {
public:
    // Bound to the name given to the daemon: a path, or an abstract one that begins with '@'.
    explicit supervisor(const std::string& name) : socket_(socket(AF_UNIX, SOCK_DGRAM, 0)) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        name.copy(address.sun_path, sizeof address.sun_path - 1);
        if (name.starts_with('@')) {
            address.sun_path[0] = '\0';
        }
        const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + name.size());
        const timeval limit{.tv_sec = WAIT_LIMIT.count(), .tv_usec = 0};
        setsockopt(socket_.get(), SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
        EXPECT_EQ(bind(socket_.get(), reinterpret_cast<const sockaddr*>(&address), size), 0);
    }

    // The next notification; empty on timeout.
    [[nodiscard]] std::string next() const {
        std::array<char, 4096> text{};
        const ssize_t size = recv(socket_.get(), text.data(), text.size(), 0);
        return {text.data(), size > 0 ? static_cast<std::size_t>(size) : 0};
    }

private:
    fd_owned socket_;
};

class SupervisorTest : public testing::TestWithParam<bool> {
protected:
    // Without a file the name is abstract.
    [[nodiscard]] std::string name() const {
        return GetParam() ? board_.at("/notify").string()
                          : "@vtrdc" + board_.at("/notify").string();
    }

    const board board_;
};

TEST_P(SupervisorTest, GetsReadyWatchdogAndStopping) {
    const supervisor told{name()};
    vtrdc_daemon daemon{board_, {}, {"NOTIFY_SOCKET=" + name()}};
    EXPECT_THAT(told.next(), StartsWith("READY=1\nSTATUS="));
    const fd_owned client{daemon.connect()}; // commands are accepted by then
    EXPECT_TRUE(client);
    EXPECT_EQ(told.next(), "WATCHDOG=1");
    EXPECT_EQ(told.next(), "WATCHDOG=1");
    daemon.signal(SIGTERM);
    std::string last = told.next();
    while (last == "WATCHDOG=1") { // from a tick before the signal
        last = told.next();
    }
    EXPECT_THAT(last, StartsWith("STOPPING=1\nSTATUS="));
    EXPECT_EQ(daemon.stop(), 0);
}

INSTANTIATE_TEST_SUITE_P(Names, SupervisorTest, testing::Bool());

TEST(Supervisor, GetsNothingFromTools) {
    const board board;
    std::ofstream{board.at("/usr/bin/vtrcore")} << "#!/bin/sh\nenv >>\"$VTRDC_SYSROOT/told\"\n";
    vtrdc_daemon daemon{board, {}, {"NOTIFY_SOCKET=/nobody/listens/here"}};
    ASSERT_TRUE(daemon.wait_until_live());
    EXPECT_EQ(daemon.stop(), 0);
    EXPECT_THAT(read_text(board.at("/told")),
                AllOf(HasSubstr("VTRDC_SYSROOT="), Not(HasSubstr("NOTIFY_SOCKET"))));
}

TEST(Supervisor, IsOptional) {
    const board board;
    vtrdc_daemon daemon{board, {}, {"NOTIFY_SOCKET=/" + std::string(200, 'x')}};
    ASSERT_TRUE(daemon.wait_until_live());
    EXPECT_EQ(daemon.stop(), 0);
}

} // namespace

// Which signals stop the daemon, and what it does without standard streams.
#include "core/daemon.h"
#include "core/signals.h"

#include <array>
#include <csignal>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

namespace {

constexpr std::array stopping{SIGINT,    SIGTERM, SIGHUP, SIGQUIT, SIGUSR1, SIGUSR2,  SIGALRM,
                              SIGVTALRM, SIGPROF, SIGIO,  SIGPWR,  SIGXCPU, SIGSTKFLT};

class SignalsTest : public testing::Test {
protected:
    SignalsTest() { sigprocmask(SIG_SETMASK, nullptr, &mask_); }
    ~SignalsTest() override {
        std::signal(SIGUSR1, SIG_DFL);
        std::signal(SIGXFSZ, SIG_DFL);
        sigprocmask(SIG_SETMASK, &mask_, nullptr);
    }
    static bool is_readable(int fd) {
        pollfd waiting{fd, POLLIN, 0};
        return poll(&waiting, 1, 0) == 1;
    }

    sigset_t mask_{};
};

TEST_F(SignalsTest, WhatWouldEndTheProcessIsReadInstead) {
    const int fd = signals_init();
    ASSERT_GE(fd, 0);
    for (const int number : stopping) {
        kill(getpid(), number);
        ASSERT_TRUE(is_readable(fd)) << number;
        EXPECT_EQ(decode_signal(fd), number);
    }
    kill(getpid(), SIGXFSZ);
    EXPECT_FALSE(is_readable(fd));
    close(fd);
}

TEST_F(SignalsTest, WhatWasIgnoredStaysIgnored) {
    std::signal(SIGUSR1, SIG_IGN);
    const int fd = signals_init();
    ASSERT_GE(fd, 0);
    kill(getpid(), SIGUSR1);
    EXPECT_FALSE(is_readable(fd));
    kill(getpid(), SIGUSR2);
    EXPECT_EQ(decode_signal(fd), SIGUSR2);
    close(fd);
}

bool is_null_device(int fd) {
    struct stat status {};
    return fstat(fd, &status) == 0 && S_ISCHR(status.st_mode) && status.st_rdev == makedev(1, 3);
}

TEST(StandardDescriptorsTest, ClosedOnesAreTheNullDevice) {
    const auto open_them = [] {
        close(STDIN_FILENO);
        close(STDERR_FILENO);
        open_standard_descriptors();
        const bool filled = is_null_device(STDIN_FILENO) && is_null_device(STDERR_FILENO);
        _exit(filled && !is_null_device(STDOUT_FILENO) ? 0 : 2);
    };
    EXPECT_EXIT(open_them(), testing::ExitedWithCode(0), "");
}

} // namespace

// Stop signals, and running without standard streams.
#include "core/daemon.h"
#include "core/log.h"
#include "core/signals.h"
#include "support/temp_folder.h"
#include "util/tools.h"

#include <array>
#include <csignal>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

constexpr std::array stopping{SIGINT,    SIGTERM, SIGHUP, SIGQUIT, SIGUSR1, SIGUSR2,  SIGALRM,
                              SIGVTALRM, SIGPROF, SIGIO,  SIGPWR,  SIGXCPU, SIGSTKFLT};

class SignalsTest : public testing::Test {
protected:
    SignalsTest() { sigprocmask(SIG_SETMASK, nullptr, &mask_); }
    ~SignalsTest() override {
        close(signals_init()); // no stop is pending
        for (const int number : {SIGUSR1, SIGPIPE, SIGXFSZ}) {
            std::signal(number, SIG_DFL);
        }
        sigprocmask(SIG_SETMASK, &mask_, nullptr);
    }
    static bool is_readable(int fd) {
        pollfd waiting{fd, POLLIN, 0};
        return poll(&waiting, 1, 0) == 1;
    }

    sigset_t mask_{};
};

TEST_F(SignalsTest, FatalSignalsAreReadInstead) {
    const int fd = signals_init();
    ASSERT_GE(fd, 0);
    for (const int number : stopping) {
        raise(number);
        ASSERT_TRUE(is_readable(fd)) << number;
        EXPECT_EQ(decode_signal(fd), number);
    }
    raise(SIGXFSZ);
    EXPECT_FALSE(is_readable(fd));
    close(fd);
}

TEST_F(SignalsTest, IgnoredSignalsStayIgnored) {
    std::signal(SIGUSR1, SIG_IGN);
    const int fd = signals_init();
    ASSERT_GE(fd, 0);
    raise(SIGUSR1);
    EXPECT_FALSE(is_readable(fd));
    raise(SIGUSR2);
    EXPECT_EQ(decode_signal(fd), SIGUSR2);
    close(fd);
}

TEST_F(SignalsTest, ToolsConsumeNoSignalAndNoneStartsAfterOne) {
    const temp_folder folder;
    const std::string log = folder.path() / "log";
    const std::string marker = folder.path() / "marker";
    log_open(log.c_str());
    const int fd = signals_init();
    ASSERT_GE(fd, 0);
    // The tool itself can be ended by a signal.
    for (const char* number : {"HUP", "PIPE", "XFSZ"}) {
        EXPECT_TRUE(WIFSIGNALED(exec_system_cmd("kill -%s $$", number))) << number;
    }
    const std::string fifo = folder.path() / "fifo";
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    std::thread sender{[&fifo, us = pthread_self()] {
        std::ifstream tool{fifo};
        std::string line;
        std::getline(tool, line); // it is running
        pthread_kill(us, SIGINT);
        pthread_kill(us, SIGHUP);
    }};
    EXPECT_EQ(exec_system_cmd("echo here >%s; sleep 0.1", fifo.c_str()), 0);
    sender.join();
    EXPECT_EQ(exec_system_cmd("touch %s", marker.c_str()), TOOL_NOT_STARTED);
    EXPECT_THAT(read_text(log), testing::EndsWith("[WARN]: Tool not started, the daemon is to "
                                                  "stop: touch " +
                                                  marker + "\n"));
    EXPECT_EQ(decode_signal(fd), SIGHUP);
    EXPECT_EQ(decode_signal(fd), SIGINT);
    // Also while the daemon is stopping.
    EXPECT_EQ(exec_system_cmd("touch %s", marker.c_str()), TOOL_NOT_STARTED);
    EXPECT_FALSE(std::filesystem::exists(marker));
    close(fd);
    log_close();
}

bool is_null_device(int fd) {
    struct stat status {};
    return fstat(fd, &status) == 0 && S_ISCHR(status.st_mode) && status.st_rdev == makedev(1, 3);
}

TEST(StandardStreamsTest, ClosedStreamsBecomeTheNullDevice) {
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

// Running tools: status, output, and hanging tools.
#include "core/log.h"
#include "support/temp_folder.h"
#include "util/files.h"
#include "util/tools.h"

#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

namespace {

using steady = std::chrono::steady_clock;

class ToolsTest : public testing::Test {
protected:
    ToolsTest() { log_open(file("log").c_str()); }
    ~ToolsTest() override { log_close(); }
    [[nodiscard]] std::string log() const { return read_text(file("log")); }
    [[nodiscard]] std::string file(const char* name) const { return folder_.path() / name; }

    temp_folder folder_;
};

TEST_F(ToolsTest, ReturnTheirStatus) {
    const std::string out = file("out");
    EXPECT_EQ(exec_system_cmd("echo %d %s > %s; echo done", 7, "up", out.c_str()), 0);
    EXPECT_EQ(read_text(out), "7 up\n");
    EXPECT_THAT(log(), AllOf(Not(HasSubstr("WARN")), Not(HasSubstr("]: done"))));
    EXPECT_EQ(WEXITSTATUS(exec_system_cmd("exit 3")), 3);
    EXPECT_THAT(log(), EndsWith("]: Tool failed with status 3: exit 3\n"));
    EXPECT_THAT(log(), HasSubstr("[INFO]: Executing system cmd: exit 3\n"));
    EXPECT_EQ(WTERMSIG(exec_system_cmd("kill -KILL $$")), SIGKILL);
    EXPECT_THAT(log(), EndsWith("[WARN]: Tool was ended by signal 9: kill -KILL $$\n"));
}

TEST_F(ToolsTest, TooLongCommandIsRefused) {
    const std::string longest = "touch " + file("marker") + std::string(255, ' ');
    EXPECT_NE(exec_system_cmd("%.256s", longest.c_str()), 0);
    EXPECT_EQ(is_file_created(file("marker").c_str()), 0);
    EXPECT_THAT(log(), Not(HasSubstr("Executing")));
    EXPECT_THAT(log(), HasSubstr("[WARN]: system cmd too long, not executed: touch "));
    EXPECT_EQ(exec_system_cmd("%.255s", longest.c_str()), 0);
    EXPECT_EQ(is_file_created(file("marker").c_str()), 1);
}

TEST_F(ToolsTest, OutputOfAFailedToolIsLogged) {
    EXPECT_EQ(WEXITSTATUS(exec_system_cmd("printf 'no\\tcore\\n[ERROR]\\n' >&2; exit 1")), 1);
    EXPECT_THAT(log(), EndsWith("exit 1: no core [ERROR] \n"));
    // More than a pipe holds.
    rusage before{};
    getrusage(RUSAGE_SELF, &before);
    EXPECT_EQ(WEXITSTATUS(exec_system_cmd("head -c 50000000 /dev/zero | tr '\\0' x; exit 2")), 2);
    EXPECT_THAT(log(), EndsWith("exit 2: " + std::string(200, 'x') + "\n"));
    rusage after{};
    getrusage(RUSAGE_SELF, &after);
    EXPECT_LT(after.ru_maxrss - before.ru_maxrss, 8 * 1024);
}

// True if the process ends or becomes a zombie within a second.
bool ends(pid_t process) {
    const auto handle = static_cast<int>(syscall(SYS_pidfd_open, process, 0));
    pollfd ended{handle, POLLIN, 0};
    const bool in_time = handle < 0 || poll(&ended, 1, 1000) == 1;
    close(handle);
    return in_time;
}

TEST_F(ToolsTest, HangingToolIsKilledWithItsChildren) {
    const auto start = steady::now();
    EXPECT_EQ(exec_system_cmd("sleep 60 & echo $! > %s; echo why; sleep 60", file("pid").c_str()),
              TOOL_TIMED_OUT);
    const auto taken = steady::now() - start;
    EXPECT_GE(taken, std::chrono::seconds{10});
    EXPECT_LT(taken, std::chrono::seconds{13});
    EXPECT_TRUE(ends(std::stoi(read_text(file("pid")))));
    EXPECT_THAT(log(),
                HasSubstr("[WARN]: Tool took more than 10 seconds and was killed: sleep 60"));
    EXPECT_THAT(log(), EndsWith("; sleep 60: why \n"));
}

TEST_F(ToolsTest, EndWithTheirShell) {
    const auto start = steady::now();
    EXPECT_EQ(exec_system_cmd("sleep 9 & exit 0"), 0);
    EXPECT_LT(steady::now() - start, std::chrono::seconds{8});
    EXPECT_EQ(WEXITSTATUS(exec_system_cmd("exec >&- 2>&-; sleep 0.2; exit 4")), 4);
}

TEST_F(ToolsTest, HaveTheirOwnProcessGroups) {
    EXPECT_EQ(exec_system_cmd("test $(cut -d' ' -f5 /proc/$$/stat) = $$"), 0);
}

TEST_F(ToolsTest, InheritNoDescriptors) {
    const int leaked = open("/dev/null", O_RDONLY);
    ASSERT_GE(leaked, 0);
    const std::string out = file("fds");
    EXPECT_EQ(exec_system_cmd("ls /proc/self/fd > %s", out.c_str()), 0);
    // Standard streams, and the folder that ls itself reads.
    EXPECT_EQ(read_text(out), "0\n1\n2\n3\n");
    close(leaked);
}

} // namespace

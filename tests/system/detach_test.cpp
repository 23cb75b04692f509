// Running in the background with a PID file.
#include "support/daemon.h"
#include "support/file_watch.h"

#include <csignal>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr const char* pid_file = "/run/vtrdc.pid";
constexpr const char* log_file = "/var/log/vtrdc.log";
const std::vector<std::string> detached{"-d", "-p", pid_file, "-l", log_file};

unsigned mode_of(const std::filesystem::path& file) {
    return static_cast<unsigned>(std::filesystem::status(file).permissions());
}

// A detached daemon, ended with the test.
class DetachedTest : public testing::Test {
protected:
    // Detached processes become children of the test, so that it can wait for them.
    DetachedTest() { prctl(PR_SET_CHILD_SUBREAPER, 1); }
    ~DetachedTest() override {
        if (pid_ > 0) {
            kill(pid_, SIGKILL);
        }
    }

    // Returns the process id in the PID file, once that and the live view exist.
    pid_t wait_for_daemon() {
        EXPECT_TRUE(wait_for_log("Display Pipeline set to playing"));
        pid_ = static_cast<pid_t>(std::stol(read_text(board_.at(pid_file))));
        return pid_;
    }

    // Waits for a process that ends with a status other than 0, and returns it.
    static int wait_for_failure() {
        int status = 0;
        while (waitpid(-1, &status, 0) > 0) {
            if (WIFEXITED(status) && WEXITSTATUS(status) != 0) {
                return WEXITSTATUS(status);
            }
        }
        return -1;
    }

    bool wait_for_log(const char* text) {
        return wait_for_file(
            board_.at(log_file),
            [&] { return read_text(board_.at(log_file)).find(text) != std::string::npos; },
            WAIT_LIMIT);
    }

    board board_;
    pid_t pid_ = 0;
};

TEST_F(DetachedTest, SecondInstanceEndsAndSignalRemovesTheFile) {
    vtrdc_daemon starter{board_, detached};
    EXPECT_EQ(starter.wait_exit(WAIT_LIMIT), 0);
    const pid_t pid = wait_for_daemon();
    EXPECT_EQ(read_text(board_.at(pid_file)), std::to_string(pid) + "\n");
    EXPECT_EQ(kill(pid, 0), 0);
    EXPECT_EQ(getsid(pid) == pid, false); // it can't get a terminal again
    EXPECT_EQ(std::filesystem::read_symlink("/proc/" + std::to_string(pid) + "/cwd"),
              board_.at("/").parent_path());

    // Directly, since scripts/sim refuses a second daemon itself.
    std::vector<std::string> second{board::daemon_binary()};
    second.insert(second.end(), detached.begin(), detached.end());
    const std::string root = board_.at("/").parent_path();
    EXPECT_EQ(run(second, {"VTRDC_SYSROOT=" + root}).status, 0);
    // Its detached process finds the file locked and ends before it opens the log.
    EXPECT_EQ(wait_for_failure(), 1);
    EXPECT_EQ(read_text(board_.at(pid_file)), std::to_string(pid) + "\n");
    EXPECT_EQ(kill(pid, 0), 0);
    const std::string log = read_text(board_.at(log_file));
    EXPECT_EQ(log.find("[INFO]: ver:"), log.rfind("[INFO]: ver:")); // one banner, of the first

    EXPECT_EQ(kill(pid, SIGTERM), 0);
    EXPECT_TRUE(has_ended(pid, WAIT_LIMIT));
    EXPECT_FALSE(std::filesystem::exists(board_.at(pid_file)));
    pid_ = 0;
}

TEST_F(DetachedTest, StalePidFileIsTakenOver) {
    std::ofstream{board_.at(pid_file)} << "123456789012\n";
    vtrdc_daemon starter{board_, detached};
    EXPECT_EQ(starter.wait_exit(WAIT_LIMIT), 0);
    const pid_t pid = wait_for_daemon();
    EXPECT_EQ(read_text(board_.at(pid_file)), std::to_string(pid) + "\n");
}

TEST_F(DetachedTest, OthersCannotWriteToItsFiles) {
    vtrdc_daemon starter{board_, detached};
    EXPECT_EQ(starter.wait_exit(WAIT_LIMIT), 0);
    wait_for_daemon();
    ASSERT_TRUE(wait_for_log("Executing system cmd: vtrcore shutter-movement"));
    EXPECT_EQ(mode_of(board_.at("/run/vtrdc.socket")), 0777U);
    EXPECT_EQ(mode_of(board_.at(pid_file)), 0640U);
    EXPECT_EQ(mode_of(board_.at(log_file)), 0640U);
}

TEST(ForegroundTest, OthersCannotWriteToItsFiles) {
    const board board;
    std::filesystem::create_directories(board.at("/home/root"));
    const mode_t before = umask(0);
    vtrdc_daemon daemon{board, {"-l", log_file}};
    umask(before);
    ASSERT_TRUE(wait_for_file(
        board.at("/run/any"), [&] { return exists(board.at("/run/vtrdc.socket")); }, WAIT_LIMIT));
    ASSERT_TRUE(board.wait_for_frames(5));
    for (const char* request : {"c:set_lum:i:2", "c:make_snapshot:n:", "c:enable_record:i:1",
                                "c:create_dot:n:", "c:get_lum:n:"}) {
        EXPECT_EQ(daemon.ask(request).front(), 'r') << request;
    }
    ASSERT_TRUE(wait_for_file(
        board.at("/media/video/any"), [&] { return !is_empty(board.at("/media/video")); },
        WAIT_LIMIT));
    EXPECT_EQ(mode_of(board.at("/run/vtrdc.socket")), 0777U);
    EXPECT_EQ(mode_of(board.at("/etc/vtrdc.conf")), 0640U);
    EXPECT_EQ(mode_of(board.at(log_file)), 0640U);
    EXPECT_EQ(mode_of(board.at("/media/video")), 0755U);
    for (const char* folder : {"/media/video", "/media/image", "/home/root", "/var/run"}) {
        for (const auto& entry : std::filesystem::directory_iterator{board.at(folder)}) {
            EXPECT_EQ(mode_of(entry) & 0022U, 0U) << entry;
        }
    }
    EXPECT_EQ(daemon.stop(), 0);
}

TEST(Detached, ForegroundDaemonWritesNoPidFileYetRemovesOne) {
    const board board;
    std::ofstream{board.at(pid_file)} << "left over\n";
    vtrdc_daemon daemon{board, {"-p", pid_file}};
    ASSERT_TRUE(daemon.wait_until_live());
    EXPECT_EQ(read_text(board.at(pid_file)), "left over\n");
    EXPECT_EQ(daemon.stop(), 0);
    EXPECT_FALSE(std::filesystem::exists(board.at(pid_file)));
}

} // namespace

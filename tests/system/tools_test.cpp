// The thermal core's tool hangs or is slow: the daemon continues, and stops in time.
#include "support/daemon.h"
#include "support/file_watch.h"

#include <chrono>
#include <csignal>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

using testing::HasSubstr;
using testing::Not;

namespace {

using steady = std::chrono::steady_clock;

// Ten seconds for the tool, plus the time of a stop.
constexpr std::chrono::seconds STOP_LIMIT{17};

class ToolTest : public testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(daemon_.wait_until_live()); }

    void replace_core(const std::string& script) const {
        const std::filesystem::path tool = board_.at("/usr/bin/vtrcore");
        std::ofstream{tool.string() + ".new"} << "#!/bin/sh\n" << script;
        std::filesystem::permissions(tool.string() + ".new", std::filesystem::perms::owner_all);
        std::filesystem::rename(tool.string() + ".new", tool);
    }
    void send(std::string_view request) {
        client_ = daemon_.connect();
        EXPECT_EQ(::send(client_, request.data(), request.size(), 0),
                  static_cast<ssize_t>(request.size()));
    }
    std::string receive() const {
        std::string reply(256, '\0');
        const ssize_t length = recv(client_, reply.data(), reply.size(), 0);
        close(client_);
        return reply.substr(0, length > 0 ? static_cast<std::size_t>(length) : 0);
    }
    void stop_in_time() {
        const auto start = steady::now();
        daemon_.signal(SIGTERM);
        EXPECT_EQ(daemon_.wait_exit(std::chrono::seconds{30}), 0);
        EXPECT_LT(steady::now() - start, STOP_LIMIT);
        EXPECT_THAT(daemon_.output(), testing::EndsWith("[INFO]: Goodbye\n"));
    }

    board board_;
    vtrdc_daemon daemon_{board_};
    int client_ = -1;
};

TEST_F(ToolTest, HangingAfterAButtonIsAWarning) {
    replace_core("echo $$ >>$VTRDC_SYSROOT/tmp/pid; echo stuck; exec sleep 100\n");
    ASSERT_EQ(board_.sim({"press", "zoom"}), 0);
    EXPECT_TRUE(daemon_.wait_for("[WARN]: Tool took more than 10 seconds and was killed: vtrcore "
                                 "origin 435 355: stuck \n"));
    EXPECT_EQ(daemon_.ask("c:get_zoom:n:"), "r:get_zoom:s:0");
    EXPECT_TRUE(has_ended(std::stoi(read_text(board_.at("/tmp/pid"))), WAIT_LIMIT));
    replace_core("yes | head -c 50000000; [ $1 != fast-nuc ] || exit 3\n");
    EXPECT_EQ(daemon_.ask("c:kbd_zoom:n:"), "r:kbd_zoom:n:");
    EXPECT_THAT(daemon_.output(), Not(HasSubstr("\ny\n")));
    EXPECT_EQ(daemon_.ask("c:kbd_nuc:n:"), "e:kbd_nuc:n:");
    EXPECT_TRUE(daemon_.wait_for("[WARN]: Tool failed with status 3: vtrcore fast-nuc: y y "));
    stop_in_time();
}

TEST_F(ToolTest, HangingInACommandDelaysTheStopByAtMostItsTimeLimit) {
    replace_core("exec sleep 100\n");
    send("c:kbd_zoom:n:");
    ASSERT_TRUE(daemon_.wait_for("Executing system cmd: vtrcore origin"));
    stop_in_time();
    EXPECT_EQ(receive(), "e:kbd_zoom:n:");
}

TEST_F(ToolTest, NoToolStartsAfterTheSignal) {
    const std::string started = board_.at("/tmp/started");
    replace_core("echo \"$*\" >>" + started + "; sleep 1\n");
    ASSERT_EQ(board_.sim({"press", "zoom"}), 0);
    ASSERT_TRUE(wait_for_file(
        started, [&] { return read_text(started) == "origin 435 355\n"; }, WAIT_LIMIT));
    // The button's action fails then, which is no reason to end with an error.
    stop_in_time();
    EXPECT_THAT(daemon_.output(),
                HasSubstr("[WARN]: Tool not started, the daemon is to stop: vtrcore zoom 2\n"));
    EXPECT_EQ(read_text(started), "origin 435 355\n");
}

} // namespace

// The client's own commands: showing and watching the daemon's status.
#include "client_fixture.h"
#include "support/daemon.h"
#include "support/file_watch.h"

#include <algorithm>
#include <csignal>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <regex>
#include <sys/wait.h>
#include <unistd.h>

using testing::HasSubstr;

namespace fs = std::filesystem;

namespace {

std::string status_text(pid_t pid, int zoom) {
    return R"({"schema":1,"pid":)" + std::to_string(pid) +
           R"(,"started":"2024-09-27T09:30:56Z","version":"3.0.0","build":"7116803",)"
           R"("live_view":{"state":"frozen","since":"2024-09-27T09:31:00Z"},"outputs":{)"
           R"("recording":{"state":"on","since":"2024-09-27T09:32:00Z",)"
           R"("file":"/media//video/video_20240927093200_01.mp4","splits":1},)"
           R"("tcp":{"state":"off","since":"2024-09-27T09:30:56Z","file":"","splits":0}},)"
           R"("handed_over":true,"zoom":)" +
           std::to_string(zoom) +
           R"(,"inset":0,"settings":{"origin_x":512.0},"failures":)"
           R"({"tool":{"time":"2024-09-27T09:33:00Z","text":"Tool failed"}}})"
           "\n";
}

constexpr const char* WORDS =
    R"(daemon      3.0.0, build 7116803, process \d+, started 2024-09-27 09:30:56 UTC
live view   frozen, the camera sends no new picture since 2024-09-27 09:31:00 UTC
recording   on since 2024-09-27 09:32:00 UTC, into /media//video/video_20240927093200_01.mp4, splits: 1
TCP stream  off since 2024-09-27 09:30:56 UTC
zoom        2
inset       off
controls    handed over to an outside controller
failure     tool, 2024-09-27 09:33:00 UTC: Tool failed
)";

class StatusTest : public VtrdcctlTest {
protected:
    ~StatusTest() override { end_daemon(); }

    // Replaces the status file like the daemon.
    void write_status(const std::string& text) const {
        fs::rename(folder_.write("new", text), folder_.path() / "vtrdc.status");
    }

    // Ends the process that poses as the daemon.
    void end_daemon() {
        if (daemon_ > 0) {
            kill(daemon_, SIGKILL);
            waitpid(daemon_, nullptr, 0);
            daemon_ = -1;
        }
    }

    [[nodiscard]] bool wait_for_lines(int count) const {
        return wait_for_file(
            output_,
            [&] {
                const std::string text = read_text(output_);
                return std::ranges::count(text, '\n') >= count;
            },
            WAIT_LIMIT);
    }

    fs::path output_ = folder_.path() / "output";
    pid_t daemon_ = spawn({"/bin/sleep", "1000"}, environment_with({}), output_);
};

TEST_F(StatusTest, IsShownInWordsOrAsJson) {
    const std::string text = status_text(daemon_, 2);
    write_status(text);
    EXPECT_EQ(ctl({"status"}).output,
              std::regex_replace(WORDS, std::regex{R"(\\d\+)"}, std::to_string(daemon_)));
    EXPECT_EQ(ctl({"status", "--json"}).output, text);
    EXPECT_EQ(ctl({"watch", "--for", "0"}).output, text);
}

TEST_F(StatusTest, WithoutADaemonIsNoAnswer) {
    EXPECT_EQ(ctl({"status"}).errors, "vtrdcctl: status: the daemon is not running: no " +
                                          (folder_.path() / "vtrdc.status").string() + "\n");
    write_status(status_text(daemon_, 1));
    end_daemon();
    EXPECT_THAT(ctl({"status"}).errors, HasSubstr("which wrote"));
    EXPECT_EQ(ctl({"--wait", "0.1", "watch"}).status, 2);
    for (const char* const text : {"", "[]", "{\"pid\":\"1\"}", "{\"pid\":-1}"}) {
        write_status(text);
        EXPECT_EQ(ctl({"status"}).status, 2) << text;
    }
}

TEST_F(StatusTest, IsFoundBesideALinkedSocket) {
    fs::create_directory(folder_.path() / "own");
    fs::create_symlink("own/socket", socket_); // does not exist yet
    fs::rename(folder_.write("new", status_text(daemon_, 1)), folder_.path() / "own/vtrdc.status");
    EXPECT_EQ(ctl({"watch", "--for", "0"}).status, 0);
}

TEST_F(StatusTest, WatchEndsWhenTheConditionIsMet) {
    write_status(status_text(daemon_, 1));
    const pid_t watch = start_ctl({"watch", "--until", "zoom=4"}, output_);
    for (const int zoom : {2, 2, 4}) { // nothing is printed for the second
        EXPECT_TRUE(wait_for_lines(zoom == 4 ? 2 : 1));
        folder_.write("other", "");
        write_status(status_text(daemon_, zoom));
    }
    EXPECT_EQ(wait_for_exit(watch, WAIT_LIMIT), 0);
    EXPECT_EQ(read_text(output_),
              status_text(daemon_, 1) + status_text(daemon_, 2) + status_text(daemon_, 4));
}

TEST_F(StatusTest, WatchEndsWithTheDaemon) {
    write_status(status_text(daemon_, 1));
    const pid_t watch = start_ctl({"watch"}, output_);
    EXPECT_TRUE(wait_for_lines(1));
    end_daemon();
    EXPECT_EQ(wait_for_exit(watch, WAIT_LIMIT), 2);
    EXPECT_THAT(read_text(output_), HasSubstr("vtrdcctl: watch: the daemon is not running"));
}

TEST_F(StatusTest, ConditionsAreCompared) {
    write_status(status_text(daemon_, 2));
    for (const char* const condition :
         {"zoom=2", "settings.origin_x=512", "handed_over=true", "outputs.recording.state=on",
          "failures.tool.text=Tool failed", "live_view.since=2024-09-27T09:31:00Z"}) {
        EXPECT_EQ(ctl({"watch", "--until", condition}).status, 0) << condition;
    }
    const result unmet = ctl({"watch", "--for", "0.01", "--until", "outputs.tcp.state=on"});
    EXPECT_EQ(unmet.status, 1);
    EXPECT_EQ(unmet.errors, "vtrdcctl: watch: outputs.tcp.state is still \"off\", not \"on\"\n");
    EXPECT_EQ(ctl({"watch", "--for", "0.01", "--until", "failures.http.text=x"}).status, 1);
    const result mistyped = ctl({"watch", "--until", "outputs.recoding.state=on"});
    EXPECT_EQ(mistyped.status, 64);
    EXPECT_THAT(mistyped.errors, HasSubstr("; did you mean outputs.recording.state?"));
    EXPECT_EQ(ctl({"watch", "--until", "zoom"}).status, 64);
}

// From before its start to after its end.
TEST_F(VtrdcctlTest, WaitsForADaemonAndWatchesIt) {
    const board board;
    socket_ = board.at("/run/vtrdc.socket");
    const fs::path answer = folder_.path() / "answer";
    const fs::path output = folder_.path() / "output";
    const pid_t asking = start_ctl({"--wait", "60", "get_zoom"}, answer);
    const pid_t watching =
        start_ctl({"--wait", "60", "watch", "--until", "outputs.recording.state=on"}, output);
    vtrdc_daemon daemon{board};
    EXPECT_EQ(wait_for_exit(asking, 2 * WAIT_LIMIT), 0);
    EXPECT_EQ(read_text(answer), "0\n");
    ASSERT_TRUE(daemon.wait_until_live());
    EXPECT_EQ(ctl({"enable_record", "1"}).status, 0);
    EXPECT_EQ(wait_for_exit(watching, WAIT_LIMIT), 0);
    EXPECT_THAT(ctl({"status"}).output, HasSubstr("\nrecording   on since "));
    const pid_t last = start_ctl({"watch"}, output);
    EXPECT_EQ(daemon.stop(), 0);
    EXPECT_EQ(wait_for_exit(last, WAIT_LIMIT), 2);
}

} // namespace

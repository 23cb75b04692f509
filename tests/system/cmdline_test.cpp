// The command line: exact help, exit statuses, and where the log goes.
#include "support/daemon.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::HasSubstr;
using testing::Not;

namespace {

constexpr const char* banner = "ver:3.0.0(Lumen demo), date:2024-09-27 09:30:56, git:7116803, "
                               "type:release, build:dirty\n";

constexpr const char* option_lines =
    " [OPTIONS]\n"
    "\n"
    "  Options:\n"
    "   -h --help                 Print this help\n"
    "   -c --conf_file filename   Read configuration from the file\n"
    "   -l --log_file  filename   Write logs to the file\n"
    "   -d --daemon               Daemonize this application\n"
    "   -p --pid_file  filename   PID file used by daemonized app\n"
    "   -v --verbose              Enable debug level log messages\n"
    "   -f --profile              Enable the video profiler elements\n"
    "\n";

TEST(CommandLine, HelpAndStatuses) {
    const board board;
    struct {
        std::vector<std::string> options;
        int status;
    } const cases[] = {
        {{"-h"}, 0},        {{"--help"}, 0},     {{"--he"}, 0}, // options may be abbreviated
        {{"--profile"}, 1}, {{"--nonsense"}, 1}, {{"-x"}, 1},   {{"-c"}, 1}, {{"-v", "-h"}, 0},
    };
    for (const auto& each : cases) {
        vtrdc_daemon daemon{board, each.options};
        EXPECT_EQ(daemon.wait_exit(WAIT_LIMIT), each.status) << each.options.back();
        const std::string output = daemon.output();
        EXPECT_THAT(output,
                    HasSubstr("Vantor Device controller " + std::string{banner} + "Usage: "));
        EXPECT_THAT(output, HasSubstr(std::string{"vtrdc"} + option_lines));
    }
}

TEST(CommandLine, LogGoesToTheGivenFile) {
    const board board;
    vtrdc_daemon daemon{board, {"-l", "/var/log/vtrdc.log", "--conf_file", "/etc/other.conf"}};
    ASSERT_TRUE(board.wait_for_panel([](const picture& panel) {
        return panel.mean({100, 100, 800, 500}) > 1.0;
    }));
    EXPECT_EQ(daemon.stop(), 0);
    const std::string log = read_text(board.at("/var/log/vtrdc.log"));
    EXPECT_THAT(log, HasSubstr("[INFO]: " + std::string{banner}));
    EXPECT_THAT(log, HasSubstr("[INFO]: Reading file '/etc/other.conf' as configuration..\n"));
    EXPECT_THAT(log, HasSubstr("[WARN]: Failed to read the configuration file /etc/other.conf\n"));
    EXPECT_THAT(log, HasSubstr("[INFO]: stopping daemon ...\n"));
    // The log is closed by now.
    EXPECT_THAT(log, Not(HasSubstr("Goodbye")));
    EXPECT_THAT(daemon.output(), HasSubstr("[INFO]: Goodbye\n"));
    EXPECT_THAT(daemon.output(), Not(HasSubstr("stopping daemon")));
}

TEST(CommandLine, ProfilerElementIsInTheDisplayPipeOnRequest) {
    const board board;
    vtrdc_daemon daemon{board, {"-f"}};
    EXPECT_TRUE(daemon.wait_for(":perf-display: "));
    EXPECT_EQ(daemon.stop(), 0);
}

} // namespace

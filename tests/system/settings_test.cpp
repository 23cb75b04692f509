// The configuration file of the running daemon.
#include "support/daemon.h"

#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::HasSubstr;

namespace {

TEST(Settings, FileIsReadAndEveryLineAccountedFor) {
    const board board;
    std::ofstream{board.at("/etc/vtrdc.conf")}
        << "# comment\nvideo_ready_file=/tmp/ready\nluminance=44\nreticle_color = 2\nno equals\n"
        << "media_path=" << std::string(5000, 'm') << "\n";
    vtrdc_daemon daemon{board};
    for (const char* line : {
             "[WARN]: Malformed line 5:no equals of file /etc/vtrdc.conf\n",
             "[INFO]: Key: video_ready_file, Value:/tmp/ready\n",
             "[INFO]: Key: luminance, Value:44\n",
             "[WARN]: Settings line 3: selects no entry of its table, 0 is used\n",
             "[WARN]: Failed to parse <reticle_color >\n",
             "[WARN]: Settings line 4: unknown key\n",
             "[INFO]: Key: media_path, Value:mmmm",
             "[INFO]: Configuration file '/etc/vtrdc.conf' parsed.\n",
             "[INFO]: Configure func takes : 0.",
         }) {
        EXPECT_TRUE(daemon.wait_for(line));
    }
    ASSERT_TRUE(daemon.wait_until_live());
    EXPECT_TRUE(std::filesystem::exists(board.at("/tmp/ready")));
    EXPECT_EQ(daemon.stop(), 0);
}

TEST(Settings, RewriteThatFailsIsWarnedAboutUntilItWorks) {
    const board board;
    vtrdc_daemon daemon{board};
    ASSERT_TRUE(daemon.wait_until_live());
    const std::filesystem::path file = board.at("/etc/vtrdc.conf");
    constexpr const char* warning =
        "[WARN]: Failed to write the settings to /etc/vtrdc.conf: Is a directory\n";
    for (int failures = 1; failures <= 2; ++failures) {
        std::filesystem::remove(file);
        std::filesystem::create_directory(file);
        EXPECT_EQ(daemon.ask("c:set_lum:i:1"), "r:set_lum:n:");
        EXPECT_EQ(daemon.ask("c:set_lum:i:2"), "r:set_lum:n:");
        EXPECT_EQ(daemon.ask("c:get_lum:n:"), "r:get_lum:s:2"); // in a pass after the rewrite
        EXPECT_EQ(daemon.count(warning), failures);
        std::filesystem::remove(file);
        EXPECT_EQ(daemon.ask("c:set_lum:i:3"), "r:set_lum:n:");
        EXPECT_EQ(daemon.ask("c:get_lum:n:"), "r:get_lum:s:3");
        EXPECT_THAT(read_text(file), HasSubstr("\nluminance=3\n"));
    }
    EXPECT_EQ(daemon.stop(), 0);
}

TEST(Settings, SystemRootMustBeAbsolute) {
    const board board;
    const pid_t process =
        spawn({board.daemon_binary()}, environment_with({"VTRDC_SYSROOT=relative/folder"}),
              board.at("/refused.out"));
    EXPECT_EQ(wait_for_exit(process, WAIT_LIMIT), 1);
    EXPECT_THAT(read_text(board.at("/refused.out")),
                HasSubstr("VTRDC_SYSROOT must name an absolute folder\n"));
}

} // namespace

// The configuration file as the running daemon takes it.
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
             "[WARN]: Failed to parse <reticle_color >\n",
             "[INFO]: Key: media_path, Value:mmmm",
             "[INFO]: Configuration file '/etc/vtrdc.conf' parsed.\n",
             "[INFO]: Configure func takes : 0.",
             "[WARN]: luminance=44 selects no entry, using 0\n",
         }) {
        EXPECT_TRUE(daemon.wait_for(line));
    }
    ASSERT_TRUE(daemon.wait_until_live());
    EXPECT_TRUE(std::filesystem::exists(board.at("/tmp/ready")));
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

// The panel's attributes.
#include "core/log.h"
#include "devices/uoled.h"
#include "support/temp_folder.h"

#include <cstdlib>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <optional>

namespace {

constexpr const char* FOLDER = "/sys/bus/i2c/drivers/mxc_uoled_i2c/0-0024/attr_";

TEST(Panel, AttributesTakeTheirValues) {
    std::optional<temp_folder> folder{std::in_place};
    // The system root is read once in a process, so that this needs one of its own: it runs from
    // the beginning again there, with this folder.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    setenv("VTRDC_SYSROOT", folder->path().c_str(), 0);
    const std::string begin = folder->path().string() + FOLDER;
    for (const char* const attribute : {"luminance", "display_on", "pon", "pattern"}) {
        folder->write(std::string{FOLDER}.substr(1) + attribute, "");
    }
    const auto set_all = [&folder] {
        folder.reset();
        uoled_set_lum(240);
        uoled_active(1);
        uoled_power(-1);
        uoled_pattern(123456789);
        std::exit(0);
    };
    EXPECT_EXIT(set_all(), testing::ExitedWithCode(0), "");
    unsetenv("VTRDC_SYSROOT");
    EXPECT_EQ(read_text(begin + "luminance"), "240");
    EXPECT_EQ(read_text(begin + "display_on"), "1");
    EXPECT_EQ(read_text(begin + "pon"), "-1");
    EXPECT_EQ(read_text(begin + "pattern"), "123456789");
}

TEST(Panel, LevelOutOfRangeIsAnError) {
    const temp_folder folder;
    const std::string file = folder.path() / "log";
    log_open(file.c_str());
    for (const int level : {241, -1}) {
        EXPECT_EXIT(uoled_set_lum(level), testing::ExitedWithCode(1), "");
    }
    EXPECT_EXIT(uoled_resolution(0), testing::ExitedWithCode(1), "");
    log_close();
    const std::string log = read_text(file);
    const std::string out_of_range = "]: lum value out of the range [0 - 240].\n";
    EXPECT_THAT(log, testing::HasSubstr(out_of_range));
    EXPECT_NE(log.find(out_of_range), log.rfind(out_of_range));
    EXPECT_THAT(log, testing::EndsWith("]: Not implemented - uoled_resolution\n"));
}

} // namespace

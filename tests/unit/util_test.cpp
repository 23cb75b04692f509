// Helpers for the operating system, on real files.
#include "core/log.h"
#include "support/temp_folder.h"
#include "util/files.h"
#include "util/free_names.h"
#include "util/text.h"
#include "video/flushing.h"

#include <cinttypes>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

using testing::HasSubstr;
using testing::Not;

namespace {

class HelpersTest : public testing::Test {
protected:
    HelpersTest() {
        log_open(log_path_.c_str());
        log_verbose = 1;
    }
    ~HelpersTest() override {
        log_close();
        log_verbose = 0;
    }
    [[nodiscard]] std::string log() const { return read_text(log_path_); }
    [[nodiscard]] std::string file(const char* name) const { return folder_.path() / name; }

    temp_folder folder_;
    std::string log_path_ = file("log");
};

TEST_F(HelpersTest, TouchCreatesAndKeeps) {
    const std::string made = file("made");
    EXPECT_EQ(touch_file(made.c_str()), 0);
    struct stat status {};
    ASSERT_EQ(stat(made.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0333U, 0U);
    const std::string kept = folder_.write("kept", "contents");
    EXPECT_EQ(touch_file(kept.c_str()), 0);
    EXPECT_EQ(read_text(kept), "contents");
    EXPECT_EQ(touch_file("/nonexistent/folder/file"), -1);
}

TEST_F(HelpersTest, WholeFilesAreReadAndWritten) {
    const std::string path = file("attr");
    EXPECT_EQ(write_full_file(path.c_str(), "220"), 0);
    EXPECT_STREQ(read_full_file(path.c_str()).get(), "220");
    EXPECT_EQ(write_full_file(path.c_str(), ""), 0);
    EXPECT_STREQ(read_full_file(path.c_str()).get(), "");
    EXPECT_EQ(write_full_file("/nonexistent/file", "1"), 1);
    EXPECT_EQ(read_full_file("/nonexistent/file"), nullptr);
    EXPECT_EQ(write_full_file("/dev/full", "1"), -1);
}

TEST_F(HelpersTest, TextsAndTimeStamps) {
    EXPECT_STREQ(concatenate_strings({"/home/root/", "src", "_"}).get(), "/home/root/src_");
    EXPECT_STREQ(concatenate_strings({""}).get(), "");
    EXPECT_THAT(get_timestamp_string().get(), testing::MatchesRegex("20[0-9]{12}"));
}

TEST_F(HelpersTest, TimeStampIsTheFirstUnusedOne) {
    // A clock that starts at the same second on every boot, and an hour that comes twice.
    setenv("TZ", "CET-1CEST-2,M3.5.0/2,M10.5.0/3", 1);
    tzset();
    constexpr std::time_t before_three = 1'729'990'790; // 02:59:50 in summer, ten seconds before
    const auto stamp = [this](std::time_t moment) {
        return std::string{get_free_timestamp(file("video/").c_str(), "video_", moment).get()};
    };
    EXPECT_EQ(stamp(before_three), "20241027025950"); // no folder
    const auto take = [&](std::time_t moment, const char* rest) {
        folder_.write("video/video_" + std::string{get_timestamp_string(moment).get()} + rest, "");
    };
    for (int second = 0; second < 3700; ++second) {
        take(before_three + second, second % 2 == 0 ? "_00.mp4" : "_07.mp4.recovered");
    }
    EXPECT_EQ(stamp(before_three), "20241027030130");
    EXPECT_EQ(stamp(before_three - 3600), "20241027015950");
    folder_.write("video/audio_20241027030130_00.mp4", "");
    folder_.write("video/video_2024102703013", ""); // shorter than a stamp
    EXPECT_EQ(stamp(before_three), "20241027030130");
    unsetenv("TZ");
    tzset();
}

TEST_F(HelpersTest, FreeSpaceSufficesUpToItsLastByte) {
    const char* const path = folder_.path().c_str();
    std::uint64_t free_bytes = 0;
    ASSERT_EQ(get_free_space(path, free_bytes), 0);
    // Other programs write meanwhile, so the exact number can't be checked.
    EXPECT_EQ(has_enough_space(path, free_bytes / 2), 1);
    EXPECT_EQ(has_enough_space(path, UINT64_MAX), 0);
    EXPECT_THAT(log(), testing::ContainsRegex(
                           "WARN]: not enough bytes, asking for 18446744073709551615, but have "
                           "[0-9]+\n"));
    EXPECT_EQ(has_enough_space("/nonexistent", 1), 0);
    EXPECT_THAT(log(), HasSubstr("[WARN]: Failed to query the system for the remaing space in "
                                 "/nonexistent\n"));
}

TEST_F(HelpersTest, FlushingAFolderTakesMediaOnly) {
    const std::string video = folder_.write("media/video_1_00.mp4", "v");
    folder_.write("media/img_1.jpeg", "i");
    folder_.write("media/notes", "n");
    flush_folder_of_file(video.c_str());
    EXPECT_TRUE(flushing_ends_within(std::chrono::minutes{1}));
    EXPECT_THAT(log(), HasSubstr("[DEBUG]: flushing: video_1_00.mp4\n"));
    EXPECT_THAT(log(), HasSubstr("[DEBUG]: flushing: img_1.jpeg\n"));
    EXPECT_THAT(log(), HasSubstr("[DEBUG]: flushing: " + file("media") + "\n"));
    EXPECT_THAT(log(), Not(HasSubstr("notes")));
}

} // namespace

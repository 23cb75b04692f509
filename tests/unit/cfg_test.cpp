// The settings record and its file: every key, number parsing, and every error.
#include "config/cfg.h"
#include "core/log.h"
#include "support/temp_folder.h"

#include <cerrno>
#include <cmath>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <limits>
#include <sstream>

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

class ConfigTest : public testing::Test {
protected:
    ConfigTest() { log_open(log_path_.c_str()); }
    ~ConfigTest() override {
        cfg_clean();
        log_close();
        global_config = {};
    }

    int read(const std::string& contents) {
        return cfg_read_config(folder_.write("vtrdc.conf", contents).c_str());
    }
    [[nodiscard]] std::string log() const { return read_text(log_path_); }
    [[nodiscard]] static std::string serialized() { return cfg_serialize_global_config().get(); }

    temp_folder folder_;
    std::string log_path_ = folder_.path() / "log";
};

// A value for the row's field that differs from other rows and all defaults.
struct own_value {
    std::size_t row;

    void operator()(std::int32_t settings::*field) const {
        // Another index would be replaced; tables have different sizes.
        const value_range& range = parse_table[row].range;
        global_config.*field = range.is_index ? static_cast<std::int32_t>(range.most)
                                              : static_cast<std::int32_t>(7000 + row);
    }
    void operator()(double settings::*field) const {
        global_config.*field = 0.25 * static_cast<double>(row) + 100.0;
    }
    void operator()(const char* settings::*field) const {
        static std::vector<std::string> texts(parse_table_size);
        texts[row] = "/own/" + std::to_string(row) + "=" + parse_table[row].key;
        global_config.*field = texts[row].c_str();
    }
};

TEST_F(ConfigTest, EveryKeyIsWrittenAndReadBack) {
    for (std::size_t row = 0; row < parse_table_size; ++row) {
        std::visit(own_value{row}, parse_table[row].field);
    }
    const std::string path = folder_.path() / "out.conf";
    ASSERT_EQ(cfg_write_config_file(path.c_str()), 0);
    const std::string written = read_text(path);
    global_config = {};
    ASSERT_EQ(cfg_read_config(path.c_str()), 0);
    EXPECT_EQ(serialized(), written);
    EXPECT_THAT(log(), Not(HasSubstr("Failed to parse")));
    EXPECT_EQ(std::ranges::count(written, '\n'), parse_table_size);
}

// The shipped example is compared with all of them.
TEST_F(ConfigTest, DefaultsAsWritten) {
    std::size_t length = 0;
    const malloc_text text = cfg_serialize_global_config(&length);
    const std::string defaults = text.get();
    EXPECT_EQ(length, defaults.size());
    EXPECT_THAT(defaults, StartsWith("socket_file=/run/vtrdc.socket\n"
                                     "video_ready_file=/var/run/video_playing\n"));
    EXPECT_THAT(defaults, HasSubstr("\nreticle=1\norigin_x=512.00\norigin_y=384.00\n"));
    EXPECT_THAT(defaults, EndsWith("\nrecord_max_len=300\n"))
        << "settings_list.inc says where a new row goes";
    // Reading the written file restores them.
    ASSERT_EQ(read(defaults), 0);
    EXPECT_EQ(serialized(), defaults);
    EXPECT_THAT(log(), Not(HasSubstr("WARN")));
}

TEST_F(ConfigTest, FilesWithoutKeysLeaveTheDefaults) {
    const std::string defaults = serialized();
    for (const char* contents :
         {"", "\n", "luminance=2", "# luminance=2\n", "no equals sign\n", "\n\n"}) {
        EXPECT_EQ(read(contents), 1) << contents;
        EXPECT_EQ(serialized(), defaults) << contents;
        EXPECT_EQ(cfg_get_str("luminance"), nullptr);
    }
    EXPECT_EQ(cfg_read_config("/nonexistent/vtrdc.conf"), 1);
    EXPECT_THAT(log(), HasSubstr("[WARN]: Failed to find any configuration keys in "
                                 "/nonexistent/vtrdc.conf\n"));
}

TEST_F(ConfigTest, MalformedLinesAreReportedAndSkipped) {
    ASSERT_EQ(read("# a comment = with equals\nluminance=2\n\njunk\nreticle=0\n"), 0);
    EXPECT_EQ(global_config.luminance, 2);
    EXPECT_EQ(global_config.reticle, 0);
    const std::string path = folder_.path() / "vtrdc.conf";
    EXPECT_THAT(log(), HasSubstr("[WARN]: Malformed line 3: of file " + path + "\n\n"));
    EXPECT_THAT(log(), HasSubstr("[WARN]: Malformed line 4:junk of file " + path + "\n\n"));
    EXPECT_THAT(log(), HasSubstr("[INFO]: Key: luminance, Value:2\n"));
}

struct number_case {
    const char* line;
    std::int32_t stored;
    bool reported;
};

TEST_F(ConfigTest, IntegerRules) {
    constexpr std::int32_t max = std::numeric_limits<std::int32_t>::max();
    constexpr std::int32_t min = std::numeric_limits<std::int32_t>::min();
    const number_case cases[] = {
        {"video_width=2", 2, false},
        {"video_width= 2", 2, false},
        {"video_width=-3", -3, false},
        {"video_width=+4", 4, false},
        {"video_width=2 ", 2, true},
        {"video_width=2\r", 2, true},
        {"video_width=12abc", 12, true},
        {"video_width=abc", 0, true},
        {"video_width=0x10", 0, true},
        {"video_width=", 0, false},
        {"video_width=99999999999", max, false},
        {"video_width=-99999999999", min, false},
        {"video_width=99999999999999999999999", max, false},
        {"video_width =2", 1024, true},
        {"Video_width=2", 1024, true},
    };
    for (const number_case& each : cases) {
        global_config = {};
        const std::size_t before = log().size();
        EXPECT_EQ(read(std::string{each.line} + "\n"), 0) << each.line;
        EXPECT_EQ(global_config.video_width, each.stored) << each.line;
        const bool reported = log().find("[WARN]: Failed to parse <", before) != std::string::npos;
        EXPECT_EQ(reported, each.reported) << each.line;
    }
}

TEST_F(ConfigTest, DoublesKeepTheirLeadingNumber) {
    ASSERT_EQ(read("origin_x= -12.5\norigin_y=7.25px\nreticle_opacity=\n"), 0);
    EXPECT_EQ(global_config.origin_x, -12.5);
    EXPECT_EQ(global_config.origin_y, 7.25);
    EXPECT_EQ(global_config.reticle_opacity, 0.0);
    EXPECT_THAT(log(), HasSubstr("Failed to parse <origin_y>"));
    EXPECT_THAT(log(), Not(HasSubstr("Failed to parse <origin_x>")));
}

TEST_F(ConfigTest, TextsAreTakenWhole) {
    const std::string url = "http://127.0.0.1/up?key=" + std::string(5000, 'k') + "&b=c";
    ASSERT_EQ(read("http_url=" + url + "\nmedia_path=/media\r\n"), 0);
    EXPECT_EQ(global_config.http_url, url);
    EXPECT_STREQ(global_config.media_path, "/media\r");
    EXPECT_THAT(serialized(), HasSubstr("\nhttp_url=" + url + "\n"));
}

TEST_F(ConfigTest, LastOccurrenceDecidesAndRawLookupsFindTheFirst) {
    ASSERT_EQ(read("media_path=/a\nluminance=1\nother=x\nmedia_path=/b\n"), 0);
    EXPECT_STREQ(global_config.media_path, "/b");
    EXPECT_STREQ(cfg_get_str("media_path"), "/a");
    std::int32_t number = 0;
    EXPECT_EQ(cfg_get_int("luminance", number), 0);
    EXPECT_EQ(number, 1);
    EXPECT_EQ(cfg_get_int("absent", number), 1);
    EXPECT_EQ(find_key_in_table("other"), 2);
    EXPECT_THAT(cfg_get_all_keys(),
                testing::ElementsAre(testing::StrEq("media_path"), testing::StrEq("luminance"),
                                     testing::StrEq("other"), testing::StrEq("media_path")));
}

TEST_F(ConfigTest, ProblemsAreReportedByLineNumber) {
    ASSERT_EQ(read("luminance=4\nreticle_source=-1\nreticle_color=99\npip_mode=9\norigin_x=nan\n"
                   "origin_y=1e999\nreticle_opacity=-inf\nsecret=1\nnuc_type=2 s\nmic_volume=7"),
              0);
    EXPECT_EQ(global_config.luminance, 0);
    EXPECT_EQ(global_config.reticle_source, 0);
    EXPECT_EQ(global_config.reticle_color, 0);
    EXPECT_EQ(global_config.pip_mode, 9);
    EXPECT_EQ(global_config.origin_x, 512.0);
    EXPECT_EQ(global_config.origin_y, 384.0);
    EXPECT_EQ(global_config.reticle_opacity, 1.0);
    EXPECT_EQ(global_config.mic_volume, 100);
    EXPECT_THAT(serialized(), HasSubstr("\norigin_x=512.00\norigin_y=384.00\n"));
    std::string warnings;
    std::istringstream lines{log()};
    for (std::string line; std::getline(lines, line);) {
        const std::size_t place = line.find("[WARN]: ");
        warnings += place == std::string::npos ? "" : line.substr(place + 8) + "\n";
    }
    EXPECT_EQ(warnings, "Settings line 1: selects no entry of its table, 0 is used\n"
                        "Settings line 2: selects no entry of its table, 0 is used\n"
                        "Settings line 3: selects no entry of its table, 0 is used\n"
                        "Settings line 4: out of range\n"
                        "Settings line 5: not a finite number, the default is used\n"
                        "Settings line 6: not a finite number, the default is used\n"
                        "Settings line 7: not a finite number, the default is used\n"
                        "Failed to parse <secret>\n"
                        "Settings line 8: unknown key\n"
                        "Failed to parse <nuc_type>\n"
                        "Settings line 9: more than a number; what it begins with is used\n"
                        "Settings line 10: not read, since no newline ends it\n");
    ASSERT_EQ(read("luminance=3\nreticle_source=4\nreticle_color=6\n"), 0);
    EXPECT_EQ(global_config.luminance, 3);
    EXPECT_EQ(global_config.reticle_source, 4);
    EXPECT_EQ(global_config.reticle_color, 6);
    EXPECT_EQ(read("luminance=2"), 1);
    EXPECT_THAT(log(), EndsWith("[WARN]: Settings line 1: not read, since no newline ends it\n"));
}

TEST(SettingRangeTest, IncludesItsEndsButNotNan) {
    constexpr value_range opacity = range_of(&settings::reticle_opacity);
    EXPECT_TRUE(opacity.holds(0.0) && opacity.holds(1.0));
    EXPECT_FALSE(opacity.holds(-0.01) || opacity.holds(1.01) || opacity.holds(std::nan("")));
    EXPECT_TRUE(range_of(&settings::origin_x).holds(-1e300));
    EXPECT_FALSE(range_of(&settings::record_enc_gop).holds(-1));
    EXPECT_EQ(range_of(&settings::reticle_color).most, 6);
}

TEST_F(ConfigTest, FileThatCannotBeWrittenIsReported) {
    EXPECT_EQ(cfg_write_config_file("/nonexistent/vtrdc.conf"), 1);
    EXPECT_EQ(cfg_write_config_file("/dev/full"), 1);
    EXPECT_EQ(errno, ENOSPC);
}

} // namespace

// Checks the manuals, the settings' example and the packages' version against the programs.
#include "config/cfg.h"
#include "support/process.h"
#include "support/rows.h"
#include "support/temp_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <regex>
#include <sstream>

using testing::HasSubstr;
using testing::SizeIs;
using testing::StartsWith;

namespace {

using lines = std::vector<std::string>;

// Returns the lines of a text that satisfy the test.
template <class Test> lines lines_where(const std::string& text, Test test) {
    lines found;
    std::istringstream stream{text};
    for (std::string line; std::getline(stream, line);) {
        if (test(line)) {
            found.push_back(line);
        }
    }
    return found;
}

// The text in the manuals' markup.
std::string escaped(const std::string& text) {
    return std::regex_replace(text, std::regex{"-"}, "\\-");
}

bool is_heading(const std::string& line) {
    return std::regex_match(line, std::regex{R"re(\.BR \w+ " \(.*\)")re"});
}

// An empty line is not a comment: the daemon warns about it.
bool is_no_comment(const std::string& line) {
    return line.empty() || line[0] != '#';
}

const char* type_name(std::int32_t /*value*/) {
    return "integer";
}

const char* type_name(double /*value*/) {
    return "number";
}

const char* type_name(const char* /*value*/) {
    return "text";
}

// All settings at their defaults: lines key=value, in the table's order.
lines default_lines() {
    global_config = {};
    return lines_where(cfg_serialize_global_config().get(), [](const auto&) { return true; });
}

TEST(ManualsTest, SettingsMatchTheDaemons) {
    lines headings;
    const lines defaults = default_lines();
    ASSERT_THAT(defaults, SizeIs(parse_table_size));
    for (std::size_t i = 0; i < parse_table_size; ++i) {
        const std::string key = parse_table.at(i).key;
        const auto named = [](auto field) { return type_name(global_config.*field); };
        const std::string value = defaults.at(i).substr(key.size() + 1);
        headings.push_back(".BR " + key + " \" (" + std::visit(named, parse_table.at(i).field) +
                           ", " + escaped(value) + ")\"");
    }
    EXPECT_EQ(
        rows_apart_in_order(
            headings, lines_where(read_text(VTRDC_PACKAGING "/man/vtrdc.conf.5"), is_heading)),
        "")
        << "in " VTRDC_PACKAGING "/man/vtrdc.conf.5";
}

TEST(ManualsTest, ExampleHasEverySettingAtItsDefault) {
    EXPECT_EQ(rows_apart_in_order(
                  default_lines(),
                  lines_where(read_text(VTRDC_PACKAGING "/vtrdc.conf.example"), is_no_comment)),
              "")
        << "in " VTRDC_PACKAGING "/vtrdc.conf.example";
}

// Heading and first words of each option's entry, built from its line of the help.
lines option_entries(const std::string& help) {
    const std::regex row{R"(   (-\w) (--\w+) +(filename)? *(.*))"};
    lines entries;
    for (const std::string& line : lines_where(help, [](const auto&) { return true; })) {
        std::smatch part;
        if (std::regex_match(line, part, row)) {
            const std::string value = part[3].matched ? " \" \\fIfilename\\fR\"" : "";
            entries.push_back(escaped(".BR " + part.str(1) + " \", \" " + part.str(2)) + value +
                              "\n" + part.str(4) + ".");
        }
    }
    return entries;
}

TEST(ManualsTest, OptionsMatchTheHelp) {
    std::string manual = read_text(VTRDC_PACKAGING "/man/vtrdc.8");
    const std::regex entry{R"(\.TP\n(\.BR \\-\w ", ".*\n.*)\n)"};
    lines described;
    for (std::sregex_iterator found{manual.begin(), manual.end(), entry}, end; found != end;
         ++found) {
        described.push_back(found->str(1));
    }
    const lines entries = option_entries(run({VTRDC, "-h"}).output);
    EXPECT_THAT(entries, SizeIs(7));
    EXPECT_EQ(rows_apart_in_order(entries, described), "");
}

TEST(ManualsTest, RecoveryToolsManualHasTheOptionsOfItsHelp) {
    const std::regex row{R"(  (-\w),(--\S+) +(\S.*))"};
    const std::string manual = read_text(VTRDC_PACKAGING "/man/vtrdc-recover.1");
    int options = 0;
    for (const std::string& line :
         lines_where(run({VTRDC_RECOVER, "--help"}).output, [](const auto&) { return true; })) {
        std::smatch part;
        if (std::regex_match(line, part, row)) {
            ++options;
            EXPECT_THAT(manual, HasSubstr(".TP\n" +
                                          escaped(".BR " + part.str(1) + " \", \" " + part.str(2)) +
                                          "\n" + part.str(3)));
        }
    }
    EXPECT_EQ(options, 3);
}

// CMakeLists.txt has the version; these can't be derived from it.
TEST(ManualsTest, PackagingHasTheProjectsVersion) {
    namespace fs = std::filesystem;
    EXPECT_THAT(read_text(VTRDC_PACKAGING "/debian/changelog"),
                StartsWith("vtrdc (" VTRDC_VERSION ")"));
    EXPECT_TRUE(fs::exists(VTRDC_PACKAGING "/yocto/vtrdc_" VTRDC_VERSION ".bb"));
    for (const auto& manual : fs::directory_iterator{VTRDC_PACKAGING "/man"}) {
        EXPECT_THAT(read_text(manual.path()), HasSubstr("\"vtrdc " VTRDC_VERSION "\""))
            << manual.path();
    }
}

} // namespace

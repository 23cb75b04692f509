// Compares the protocol document with the daemon: commands, settings and value tables.
#include "api/api.h"
#include "config/cfg.h"
#include "osd/notices.h"
#include "osd/redis_message_broker.h"
#include "support/rows.h"
#include "support/temp_folder.h"
#include "util/value_tables.h"
#include "video/pipes.h"

#include <cmath>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iomanip>
#include <regex>
#include <sstream>

using testing::AnyOfArray;
using testing::Each;
using testing::HasSubstr;

namespace {

std::vector<std::string> lines_of(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream{text};
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

std::string document() {
    return read_text(VTRDC_PROTOCOL_DOCUMENT);
}

// Returns the section under a second-level heading; empty if there is none.
std::string section(const std::string& heading) {
    const std::string text = document();
    const std::string start_line = "\n## " + heading + "\n";
    const std::size_t start = text.find(start_line);
    if (start == std::string::npos) {
        return {};
    }
    const std::size_t body = start + start_line.size();
    return text.substr(body, text.find("\n## ", body) - body);
}

// Returns all texts in backticks.
std::vector<std::string> quoted(const std::string& text) {
    std::vector<std::string> all;
    std::istringstream stream{text};
    std::string part;
    while (std::getline(stream, part, '`') && std::getline(stream, part, '`')) {
        all.push_back(part);
    }
    return all;
}

// Rows of the command tables: they begin with a name in backticks.
std::vector<std::string> command_rows() {
    std::vector<std::string> rows;
    for (const std::string& line : lines_of(section("Commands"))) {
        if (line.starts_with("| `")) {
            rows.push_back(line);
        }
    }
    return rows;
}

TEST(ProtocolDocumentTest, DescribesEachCommandOnce) {
    std::vector<std::string> described;
    for (const std::string& row : command_rows()) {
        described.push_back(quoted(row).front());
    }
    std::vector<std::string> commands;
    for (const command_row& row : cmd_list) {
        commands.emplace_back(row.name);
    }
    EXPECT_EQ(rows_apart(commands, described), "") << "in the tables of " VTRDC_PROTOCOL_DOCUMENT;
}

// Joins values as in the document.
template <class... Parts> std::string joined(const Parts&... parts) {
    std::ostringstream text;
    text << std::fixed << std::setprecision(2);
    (text << ... << parts);
    return text.str();
}

// Returns a command's entry in the column "data", without links.
std::string data_cell(const std::string& row) {
    const std::size_t start = row.find("` | ") + 4;
    return std::regex_replace(row.substr(start, row.find(" | ", start) - start),
                              std::regex{R"(\[([^\]]*)\]\(#values\))"}, "$1");
}

// Returns a regular expression for that entry.
std::string described(const command_arguments& taken) {
    if (taken.count == 0) {
        return "none";
    }
    if (taken.is_list()) {
        return joined("list: \\w+(, \\w+){", taken.count - 1, "}");
    }
    const argument_kind kind = taken.rows.front().kind;
    const value_range range = taken.rows.front().range;
    if (kind == argument_kind::flag) {
        return "flag";
    }
    const char* const read_as =
        kind == argument_kind::integer ? "integer(: pipe number)?" : "number";
    return std::isfinite(range.most)
               ? joined(read_as, ", ", std::lround(range.least), " to ", std::lround(range.most))
               : joined(read_as, ", .*");
}

TEST(ProtocolDocumentTest, TellsWhatEachCommandTakes) {
    for (const std::string& row : command_rows()) {
        const command_row* const command = api_locate_command(quoted(row).front());
        ASSERT_NE(command, nullptr) << "unknown: " << row;
        EXPECT_TRUE(std::regex_match(data_cell(row), std::regex{described(command->takes)})) << row;
    }
}

TEST(ProtocolDocumentTest, StoredSettingsHaveKeys) {
    std::vector<std::string> keys;
    for (const parse_row& row : parse_table) {
        keys.emplace_back(row.key);
    }
    for (const std::string& row : command_rows()) {
        const std::string last_cell = row.substr(row.rfind("| ", row.size() - 3));
        EXPECT_THAT(quoted(last_cell), Each(AnyOfArray(keys))) << row;
    }
}

std::string row_of(const char* label, const auto& values) {
    std::string row = joined("| ", label, " |");
    for (const int value : values) {
        row += joined(" ", value, " |");
    }
    return row;
}

TEST(ProtocolDocumentTest, ShowsTheValueTables) {
    const std::string values = section("Values");
    EXPECT_THAT(values, HasSubstr(row_of("factor", zoom_values)));
    EXPECT_THAT(values, HasSubstr(row_of("factor", pip_values)));
    EXPECT_THAT(values, HasSubstr(row_of("level", lum_values)));
    for (std::size_t i = 0; i < reticle_srcs.size(); ++i) {
        const reticle_src& image = reticle_srcs.at(i);
        EXPECT_THAT(values, HasSubstr(joined("| ", i, " | `", image.path, "` | ", image.center_x,
                                             ", ", image.center_y, " | ", image.width, " x ",
                                             image.height, " |")));
    }
    for (std::size_t i = 0; i < reticle_colors.size(); ++i) {
        EXPECT_THAT(values, HasSubstr(joined("| ", i, " | `", reticle_colors.at(i), "` |")));
    }
    for (const pipe_row& row : pipe_rows()) {
        const int number = row.number;
        EXPECT_THAT(values, HasSubstr(joined("| ", number, " | `", row.short_name, "` | ",
                                             row.purpose, " |\n")));
    }
}

TEST(ProtocolDocumentTest, ShowsTheNotices) {
    for (const event_message& notice : event_messages) {
        const malloc_text text = construct_json_code_and_message(notice.text, notice.code);
        EXPECT_THAT(document(),
                    HasSubstr(joined("| `", notice.channel, "` | `", text.get(), "` |")));
    }
}

// Replies of examples that need no camera and have no lasting effect.
TEST(ProtocolDocumentTest, ExamplesAreAnsweredAsShown) {
    int tried = 0;
    for (const std::string& line : lines_of(section("Exchanges"))) {
        const std::vector<std::string> cells =
            line.starts_with("| `") ? quoted(line) : std::vector<std::string>{};
        if (cells.size() < 2 || !(cells[0].starts_with("c:get") || cells[1].starts_with("e:"))) {
            continue;
        }
        std::string request = cells[0];
        EXPECT_STREQ(process_ipc(request.data()).get(), cells[1].c_str());
        ++tried;
    }
    EXPECT_GE(tried, 5);
}

} // namespace

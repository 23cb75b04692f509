// Requests and replies: message format, argument lists, numbers, help, notices.
#include "api/api.h"
#include "api/arguments.h"
#include "api/ipcmsg.h"
#include "api/values.h"
#include "osd/redis_message_broker.h"

#include <cmath>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <limits>
#include <optional>

using testing::ElementsAre;
using testing::EndsWith;
using testing::SizeIs;
using testing::StartsWith;

namespace {

struct request_fields {
    std::string command;
    char type;
    std::string data;

    bool operator==(const request_fields&) const = default;
};

std::optional<request_fields> decode(std::string text) {
    ipc_msg message;
    if (ipc_deserialize(text.data(), message) != 0) {
        return std::nullopt;
    }
    EXPECT_EQ(message.ctype, 'c');
    EXPECT_EQ(message.clen, std::string_view{message.cmd}.size());
    EXPECT_EQ(message.dlen, std::string_view{message.data}.size());
    return request_fields{message.cmd, message.dtype, message.data};
}

TEST(RequestTest, ValidFormsDecode) {
    const std::pair<const char*, request_fields> cases[] = {
        {"c:print_config:n:", {"print_config", 'n', ""}},
        {"c:print_config:n", {"print_config", 'n', ""}},
        {"::c:get_lum:n:", {"get_lum", 'n', ""}},
        {"c::get_lum:::n:", {"get_lum", 'n', ""}},
        {"c:set_qml_prop:s:obj,text,a:b", {"set_qml_prop", 's', "obj,text,a:b"}},
        {"c:set_lum:i::2:", {"set_lum", 'i', ":2:"}},
        {"cc:set_origin:list:1,2", {"set_origin", 'l', "1,2"}},
    };
    for (const auto& [text, fields] : cases) {
        EXPECT_EQ(decode(text), fields) << text;
    }
}

TEST(RequestTest, InvalidFormsDoNot) {
    for (const char* text : {"", ":", ":::", "c", "c:get_lum", "c:get_lum:", "c:get_lum::",
                             "r:get_lum:n:", "C:get_lum:n:", "c:get_lum:x:", "c:get_lum:N:"}) {
        EXPECT_EQ(decode(text), std::nullopt) << text;
    }
}

std::string answer(std::string request) {
    return process_ipc(request.data()).get();
}

TEST(ReplyTest, DataEndsTheMessageAndMayBeAbsent) {
    EXPECT_STREQ(ipc_serialize({.ctype = 'r', .cmd = "x", .dtype = 's', .data = "a:b"}).get(),
                 "r:x:s:a:b");
    EXPECT_STREQ(ipc_serialize({.ctype = 'e', .cmd = "x", .dtype = 'n'}).get(), "e:x:n:");
}

TEST(ReplyTest, RequestsAreAnsweredByName) {
    EXPECT_EQ(answer("c:get_lum:n:"), "r:get_lum:s:0");
    EXPECT_EQ(answer("c:enable_video:i:1"), "e:enable_video:n:");
    EXPECT_EQ(answer("c:Get_lum:n:"), "e:Get_lum:s:Unknown command");
    EXPECT_EQ(answer("c:get_lu:n:"), "e:get_lu:s:Unknown command");
    EXPECT_EQ(answer("c:get_lum :n:"), "e:get_lum :s:Unknown command");
    EXPECT_EQ(answer("x:get_lum:n:"), "e:no_cmd:s:Failed to decode the command");
    EXPECT_EQ(answer("c:set_origin:l:1,2,3"), "e:set_origin:s:Invalid argument count");
    EXPECT_EQ(answer("c:set_qml_prop:s:a,b"), "e:set_qml_prop:s:Invalid argument count");
}

std::vector<std::string> split(std::string text) {
    const argument_list list = split_arg_list(text.data());
    return {list.arguments.begin(), list.arguments.begin() + list.count};
}

TEST(ArgumentsTest, CommasSeparate) {
    EXPECT_THAT(split("100.5,200"), ElementsAre("100.5", "200"));
    EXPECT_THAT(split("a,"), ElementsAre("a", ""));
    EXPECT_THAT(split(""), ElementsAre(""));
}

TEST(ArgumentsTest, FirstCharacterOfAnArgumentNeverSeparates) {
    EXPECT_THAT(split("a,,b"), ElementsAre("a", ",b"));
    EXPECT_THAT(split(","), ElementsAre(","));
    EXPECT_THAT(split(",,"), ElementsAre(",", ""));
    EXPECT_THAT(split("a,,,b"), ElementsAre("a", ",", "b"));
}

TEST(ArgumentsTest, BackslashKeepsAComma) {
    EXPECT_THAT(split(R"(lbl,text,a\,b)"), ElementsAre("lbl", "text", "a,b"));
    EXPECT_THAT(split(R"(\,a,\,)"), ElementsAre(",a", ","));
    EXPECT_THAT(split(R"(a\,\,b)"), ElementsAre("a,,b"));
    EXPECT_THAT(split(R"(a\b,\n)"), ElementsAre(R"(a\b)", R"(\n)"));
}

TEST(ArgumentsTest, TenthArgumentHoldsTheRest) {
    const std::vector<std::string> ten = split("0,1,2,3,4,5,6,7,8,9,10,11");
    ASSERT_THAT(ten, SizeIs(ARGUMENTS_MAX));
    EXPECT_EQ(ten[8], "8");
    EXPECT_EQ(ten[9], "9,10,11");
}

TEST(NumbersTest, LeadingNumberCounts) {
    using limits = std::numeric_limits<std::int32_t>;
    const std::pair<const char*, std::int32_t> cases[] = {
        {"2", 2},
        {" \t-3", -3},
        {"+4x", 4},
        {"5,6", 5},
        {"1.9", 1},
        {"0x10", 0},
        {"", 0},
        {"on", 0},
        {"2147483648", limits::max()},
        {"-99999999999", limits::min()},
        {"99999999999999999999999", limits::max()},
    };
    for (const auto& [text, value] : cases) {
        EXPECT_EQ(to_integer(text), value) << text;
        EXPECT_EQ(to_flag(text), value != 0 ? 1 : 0) << text;
    }
    EXPECT_STREQ(decimal_text(limits::min()).get(), "-2147483648");
}

TEST(NumbersTest, FloatingPointLikewise) {
    EXPECT_EQ(to_number(" -12.5px"), -12.5);
    EXPECT_EQ(to_number("1,5"), 1.0);
    EXPECT_EQ(to_number("2e2"), 200.0);
    EXPECT_EQ(to_number("half"), 0.0);
    EXPECT_TRUE(std::isinf(to_number("1e999")));
}

TEST(HelpTest, ListsEveryCommandAndTheLegend) {
    std::string expected;
    for (const command_row& row : cmd_list) {
        std::string name = row.name;
        name.resize(20, ' ');
        expected += "   " + name + " " + row.help + "\n";
    }
    const std::string help = api_get_help().get();
    ASSERT_THAT(help, StartsWith(expected));
    EXPECT_EQ(help.substr(expected.size()),
              "\n  Client Commands Legend:\n"
              "   @ - the command updates the corresponding option in the config file\n"
              "   ! - the argument is sourced from the configuration file\n"
              "   * - the command affects the current overlay\n"
              "   % - the command affects the current overlay until, disable_kbd command is "
              "received\n");
}

TEST(NoticeTest, TextsAreInsertedUnchanged) {
    EXPECT_STREQ(construct_json_message("a \"b\"").get(), R"({ "VTRDC": {"message": "a "b"" }})");
    EXPECT_STREQ(construct_json_code_and_message("Out of space!", 2).get(),
                 R"({ "VTRDC": {"message": "Out of space!", "code": 2 }})");
    // Neither a long message nor a long code may be truncated.
    const std::string message(5000, 'm');
    EXPECT_THAT(
        construct_json_code_and_message(message.c_str(), std::numeric_limits<int>::min()).get(),
        EndsWith(R"(m", "code": -2147483648 }})"));
}

} // namespace

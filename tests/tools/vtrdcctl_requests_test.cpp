// What vtrdcctl makes of words: requests that the daemon reads as they were meant, or none; and its
// manual against the commands.
#include "api/arguments.h"
#include "api/ipcmsg.h"
#include "support/temp_folder.h"
#include "vtrdcctl/requests.h"
#include "vtrdcctl/script.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <regex>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

using words = std::vector<std::string>;

std::string request(const char* command, const words& arguments) {
    return request_for(find_command(command), arguments);
}

// The arguments that the daemon finds in a request.
words read_by_daemon(std::string text) {
    ipc_msg message;
    EXPECT_EQ(ipc_deserialize(text.data(), message), 0) << text;
    const argument_list list = split_arg_list(message.data);
    return {list.arguments.begin(), list.arguments.begin() + list.count};
}

TEST(VtrdcctlRequestTest, ArgumentsReachTheDaemonAsTheyAre) {
    const words cases[] = {
        {"label", "text", "a b:c"}, {"label", "text", "1,2,,3,"}, {",", ",x", ",,"}, {"a", "b", ""},
        {"a\\b", "\\n", "c\\"},     {"a\\,b", "\\,", "\\\\,\\,"},
    };
    for (const words& arguments : cases) {
        EXPECT_EQ(read_by_daemon(request("set_qml_prop", arguments)), arguments);
    }
}

TEST(VtrdcctlRequestTest, TypeFollowsTheArguments) {
    EXPECT_EQ(request("get_lum", {}), "c:get_lum:n:");
    EXPECT_EQ(request("set_reticle_src", {"-1"}), "c:set_reticle_src:i:-1");
    EXPECT_EQ(request("set_reticle_opacity", {".5"}), "c:set_reticle_opacity:s:.5");
    EXPECT_EQ(request("enable_http_stream", {"1"}), "c:enable_http_stream:i:1");
    EXPECT_EQ(request("set_origin", {"512.5", "-3"}), "c:set_origin:l:512.5,-3");
    EXPECT_EQ(request("set_origin", {"512.5,-3"}), "c:set_origin:l:512.5,-3");
    const client_command of_text{"label", argument_rows::takes(argument_rows::TEXT), ""};
    EXPECT_EQ(request_for(of_text, words{"on, 2"}), "c:label:s:on, 2");
}

TEST(VtrdcctlRequestTest, WhatTheDaemonWouldReadDifferentlyIsRefused) {
    const std::pair<const char*, words> cases[] = {
        {"get_lum", {"1"}},
        {"set_lum", {}},
        {"set_lum", {"1", "2"}},
        {"set_origin", {"1", "2", "3"}},
        {"set_origin", {}},
        {"set_lum", {""}},
        {"enable_record", {"on"}},
        {"set_lum", {"2x"}},
        {"set_lum", {" 2"}},
        {"set_qml_prop", {"", "text", "x"}},
        {"set_qml_prop", {"label", "", "x"}},
        {"set_qml_prop", {"label", "text\\", "x"}},
        {"set_qml_prop", {"label", "text", std::string("a\0b", 3)}},
        {"set_qml_prop", {"label", "text", std::string(2100, 'x')}},
    };
    for (const auto& [command, arguments] : cases) {
        EXPECT_THROW((void)request(command, arguments), usage_error) << command;
    }
    EXPECT_THROW((void)find_command("get_lu"), usage_error);
    EXPECT_THROW((void)find_command(""), usage_error);
}

TEST(VtrdcctlRequestTest, LongestRequestIsStillOne) {
    const std::size_t room = 2047 - std::string_view{"c:set_qml_prop:l:a,b,"}.size();
    EXPECT_EQ(request("set_qml_prop", {"a", "b", std::string(room, 'x')}).size(), 2047);
    EXPECT_THROW((void)request("set_qml_prop", {"a", "b", std::string(room + 1, 'x')}),
                 usage_error);
}

TEST(VtrdcctlScriptTest, BlanksSeparateAndQuotesKeep) {
    EXPECT_THAT(split_words("  set_lum\t2 \r"), ElementsAre("set_lum", "2"));
    EXPECT_THAT(split_words(R"(p "a  b" "" "say \"x\" \\" c\d)"),
                ElementsAre("p", "a  b", "", R"(say "x" \)", R"(c\d)"));
    EXPECT_THAT(split_words(" "), IsEmpty());
    EXPECT_THROW((void)split_words("p \"a b"), usage_error);
}

std::string manual_entry(const client_command& command) {
    std::string arguments;
    for (std::size_t i = 1; i <= command.takes.count; ++i) {
        arguments += " " + argument_name(command, i);
    }
    const std::string name{command.name};
    const std::string heading =
        arguments.empty() ? ".B " + name : ".BI " + name + " \"" + arguments + "\"";
    return ".TP\n" + heading + "\n" + std::string{command.help} + "\n";
}

TEST(VtrdcctlManualTest, DescribesTheCommandsInTheDaemonsWords) {
    std::string entries;
    for (const client_command& command : all_commands()) {
        entries += manual_entry(command);
    }
    // A paragraph more, on one line, says what the words leave out.
    const std::string manual =
        std::regex_replace(read_text(VTRDCCTL_MANUAL), std::regex{R"(\.IP\n.*\n)"}, "");
    EXPECT_THAT(manual, HasSubstr(entries + ".SH SCRIPTS\n"));
}

} // namespace

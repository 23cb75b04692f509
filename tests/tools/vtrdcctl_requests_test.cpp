// Requests that vtrdcctl builds: the daemon must read what was meant, or nothing is sent. Also
// compares the manual with the commands.
#include "api/arguments.h"
#include "api/ipcmsg.h"
#include "support/rows.h"
#include "support/temp_folder.h"
#include "vtrdcctl/requests.h"
#include "vtrdcctl/script.h"
#include "vtrdcctl/wording.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <tuple>

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StrEq;
using testing::ThrowsMessage;

namespace {

using words = std::vector<std::string>;

std::string request(const char* command, const words& arguments) {
    return request_for(find_command(command), arguments);
}

// The arguments that the daemon parses from a request.
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
    const client_command of_text{"label",
                                 argument_rows::takes(argument_rows::text("label")),
                                 argument_rows::NOTHING,
                                 "",
                                 "",
                                 "",
                                 ""};
    EXPECT_EQ(request_for(of_text, words{"on, 2"}), "c:label:s:on, 2");
}

TEST(VtrdcctlRequestTest, ArgumentsThatTheDaemonWouldMisreadAreRefused) {
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
        {"set_lum", {"2.5"}},
        {"set_origin", {"1e999", "2"}},
        {"set_qml_prop", {"", "text", "x"}},
        {"set_qml_prop", {"label", "", "x"}},
        {"set_qml_prop", {"label", "text\\", "x"}},
        {"set_qml_prop", {"label", "text", std::string("a\0b", 3)}},
        {"set_qml_prop", {"label", "text", std::string(2100, 'x')}},
    };
    for (const auto& [command, arguments] : cases) {
        EXPECT_THROW((void)request(command, arguments), usage_error) << command;
    }
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

TEST(VtrdcctlRequestTest, RefusalsNameTheAcceptedValues) {
    const std::tuple<const char*, words, const char*> cases[] = {
        {"set_lum", {"on"}, "set_lum: takes 0 to 3, not \"on\""},
        {"enable_record", {"yes"}, "enable_record: takes 1 or 0, not \"yes\""},
        {"create_pipe", {"1.5"}, "create_pipe: takes a whole number, not \"1.5\""},
        {"set_origin", {"12", "def"}, "set_origin: origin_y takes a number, not \"def\""},
        {"set_origin", {"nan,12"}, "set_origin: origin_x takes a number, not \"nan\""},
        {"set_origin", {"1,2,3"}, "set_origin: takes 2 arguments, not 3"},
    };
    for (const auto& [command, arguments, text] : cases) {
        // Clang before 16 captures no structured bindings.
        const auto ask = [&name = command, &given = arguments] { (void)request(name, given); };
        EXPECT_THAT(ask, ThrowsMessage<usage_error>(StrEq(text)));
    }
}

TEST(VtrdcctlRequestTest, MistypedCommandsSuggestTheNearest) {
    const std::pair<const char*, const char*> cases[] = {
        {"get_lu", "no such command: get_lu; did you mean get_lum?"},
        {"enable_recrod", "no such command: enable_recrod; did you mean enable_record?"},
        {"snapshot", "no such command: snapshot; did you mean make_snapshot?"},
        {"frobnicate", "no such command: frobnicate"},
        {"", "no such command: "},
    };
    for (const auto& [word, text] : cases) {
        EXPECT_THAT([&name = word] { (void)find_command(name); },
                    ThrowsMessage<usage_error>(StrEq(text)));
    }
}

std::string manual_entry(const client_command& command) {
    std::string arguments;
    for (std::size_t i = 0; i < command.takes.count; ++i) {
        arguments += std::string{" "} + command.takes.rows.at(i).name;
    }
    const std::string name{command.name};
    const std::string heading =
        arguments.empty() ? ".B " + name : ".BI " + name + " \"" + arguments + "\"";
    const std::string more = details(command);
    return ".TP\n" + heading + "\n" + std::string{command.help} + "\n" +
           (more.empty() ? "" : ".IP\n" + more + "\n");
}

// The manual's entries in that section.
std::vector<std::string> entries_of(const std::string& section) {
    const std::string manual = read_text(VTRDCCTL_MANUAL);
    const std::string entry = ".TP\n";
    const std::size_t end = manual.find(".SH ", manual.find(section) + 1);
    std::vector<std::string> entries;
    std::size_t at = manual.find(entry, manual.find(section));
    while (at < end) {
        const std::size_t next = std::min(manual.find(entry, at + 1), end);
        entries.push_back(manual.substr(at, next - at));
        at = next;
    }
    return entries;
}

TEST(VtrdcctlManualTest, DescribesTheCommandsAsTheClientDoes) {
    std::vector<std::string> entries;
    for (const client_command& command : all_commands()) {
        entries.push_back(manual_entry(command));
    }
    EXPECT_EQ(rows_apart_in_order(entries, entries_of(".SH COMMANDS\n")), "")
        << "in " VTRDCCTL_MANUAL;
}

} // namespace

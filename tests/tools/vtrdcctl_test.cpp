// vtrdcctl as users run it: answers, exit statuses, scripts, completion.
#include "client_fixture.h"
#include "scripted_server.h"
#include "support/daemon.h"
#include "vtrdcctl/requests.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iterator>
#include <sstream>
#include <tuple>

using testing::AllOf;
using testing::ContainsRegex;
using testing::ElementsAre;
using testing::Gt;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;
using testing::StartsWith;

namespace {

TEST_F(VtrdcctlTest, NothingIsSentWhenTheCommandLineIsWrong) {
    const words cases[] = {
        {},
        {"get_lu"},
        {"get_lum", "1"},
        {"get_lum", "get_zoom"},
        {"get_lum", "-"},
        {"set_lum"},
        {"set_lum", "1", "2"},
        {"enable_record", "on"},
        {"--jsn", "get_lum"},
        {"--timeout", "nan", "get_lum"},
        {"--timeout", "-1", "get_lum"},
        {"--retry", "soon", "get_lum"},
        {"--completion", "fish"},
    };
    for (const words& arguments : cases) {
        const result ended = ctl(arguments);
        EXPECT_EQ(ended.status, 64) << testing::PrintToString(arguments);
        EXPECT_EQ(ended.output, "");
        EXPECT_THAT(ended.errors, StartsWith("vtrdcctl: "));
    }
}

TEST_F(VtrdcctlTest, MissingDaemonIsNoAnswer) {
    EXPECT_EQ(ctl({"get_lum"}).status, 2);
    EXPECT_EQ(ctl({"get_lum", "--socket", std::string(200, 'x')}).status, 2);
    const scripted_server mute{socket_, {}};
    const result ended = ctl({"--timeout", "0.1", "get_lum"});
    EXPECT_EQ(ended.status, 2);
    EXPECT_EQ(ended.errors, "vtrdcctl: get_lum: no reply: time-out\n");
}

// Replies to a first connection that is closed without a reply, or that sends something else.
TEST_F(VtrdcctlTest, ClosedConnectionOrStrangerIsNoAnswer) {
    for (const char* reply : {"", "HTTP/1.0 400", "r:get_lum", "x:get_lum:s:2", "r:get_lum:i:2"}) {
        const scripted_server server{socket_, {reply}};
        EXPECT_EQ(ctl({"get_lum"}).status, 2) << reply;
        std::filesystem::remove(socket_);
    }
}

TEST_F(VtrdcctlTest, JsonIsTyped) {
    scripted_server server{socket_,
                           {"r:get_lum:s:2", "r:set_lum:n:", "e:set_origin:s:say \"x\"\n\x01:\xff",
                            "e:set_lum:n:",
                            // NOLINTNEXTLINE(bugprone-suspicious-missing-comma): one reply
                            "r:print_config:s:luminance=2\norigin_x=5.5\nnew=1\n"
                            "media_path=/a=b\nreticle=x\n"}};
    const result ended = ctl({"--json", "--keep-going", "-"},
                             "get_lum\nset_lum 1\nset_origin 1 2\nset_lum 9\nset_lum on\n"
                             "print_config\n\"get_lum\n");
    EXPECT_EQ(ended.status, 1);
    EXPECT_EQ(ended.errors, "");
    const std::string failed = R"("ok":false,"answer":null,"error":{"kind":)";
    EXPECT_EQ(ended.output,
              R"({"command":"get_lum","ok":true,"answer":2})"
              "\n"
              R"({"command":"set_lum","ok":true,"answer":null})"
              "\n"
              R"({"command":"set_origin",)" +
                  failed + R"("refused","text":"line 3: say \"x\"\n\u0001:)" +
                  "\xef\xbf\xbd\"}}\n"
                  R"({"command":"set_lum",)" +
                  failed +
                  R"("refused","text":"line 4: takes 0 to 3, not 9"}})"
                  "\n"
                  R"({"command":"set_lum",)" +
                  failed +
                  R"("usage","text":"line 5: takes 0 to 3, not \"on\""}})"
                  "\n"
                  R"({"command":"print_config","ok":true,"answer":{"luminance":2,"origin_x":5.5,)"
                  R"("new":"1","media_path":"/a=b","reticle":"x"}})"
                  "\n"
                  R"({"command":null,)" +
                  failed +
                  R"("usage","text":"line 7: unclosed quotes"}})"
                  "\n");
}

TEST_F(VtrdcctlTest, JsonHasEveryFailure) {
    const std::pair<words, const char*> cases[] = {
        {{"get_lum", "--json"}, R"("get_lum".*"no_answer","text":"can't connect to .*")"},
        {{"--json", "set_lum", "1", "2"}, R"("set_lum".*"usage","text":"one argument too many)"},
        {{"--jsn", "get_lum", "-j"},
         R"(null.*"usage","text":"no such option: --jsn; did you mean)"},
        {{"--json", "--timeout", "x", "get_lum"}, R"(null.*"usage")"},
        {{"--json", "recrod"}, R"(null.*"usage")"},
        {{"--json"}, R"(null.*"usage")"},
    };
    for (const auto& [arguments, text] : cases) {
        const result ended = ctl(arguments);
        EXPECT_THAT(ended.output, ContainsRegex(std::string{R"(^\{"command":)"} + text));
        EXPECT_EQ(ended.errors, "");
    }
}

TEST_F(VtrdcctlTest, RefusalsGiveReasons) {
    const std::tuple<words, const char*, const char*> cases[] = {
        {{"set_reticle_opacity", "1.5"}, "", "takes 0 to 1, not 1.5"},
        {{"set_nuc_type", "4"}, "", "takes 0 to 3, not 4"},
        {{"set_nuc_type", "2"},
         "",
         "the thermal core refuses; the daemon's log has the tool's status"},
        {{"enable_pip", "4"},
         "",
         "the thermal core refuses; the daemon's log has the tool's status"},
        {{"enable_video", "1"}, "", "this sight's display can't be switched"},
        {{"enable_qml", "1"}, "No.", "No."},
    };
    for (const auto& [arguments, reply, reason] : cases) {
        const std::string kind = *reply == '\0' ? "n" : "s";
        const scripted_server server{socket_, {"e:x:" + kind + ":" + reply}};
        EXPECT_EQ(ctl(arguments).errors, "vtrdcctl: " + arguments.front() + ": " + reason + "\n");
        std::filesystem::remove(socket_);
    }
}

TEST_F(VtrdcctlTest, RetryRepeatsUntilSuccess) {
    const std::string busy = "e:enable_record:n:";
    scripted_server server{socket_, {busy, busy, "r:enable_record:n:"}};
    EXPECT_EQ(ctl({"enable_record", "1", "--retry", "30"}).status, 0);
    EXPECT_THAT(server.requests(), SizeIs(3));
}

TEST_F(VtrdcctlTest, RetryEndsAtTheTimeLimit) {
    scripted_server server{socket_, words(100, "e:enable_record:n:")};
    EXPECT_EQ(ctl({"enable_record", "1", "--retry", "0.15"}).status, 1);
    EXPECT_THAT(server.requests(), SizeIs(Gt(1U)));
}

constexpr const char* SCRIPT = "# Lines that count as none:\n\n \t# \"\n"
                               "get_lum\n"
                               "set_lum on\n"
                               "set_lum 9\n"
                               "set_qml_prop label text \"#1, or so\"\n";

TEST_F(VtrdcctlTest, ScriptStopsAtTheFirstFailure) {
    scripted_server server{socket_, words(4, "r:get_lum:s:2")};
    const result ended = ctl({"-"}, SCRIPT);
    EXPECT_EQ(ended.status, 64);
    EXPECT_EQ(ended.output, "2\n");
    EXPECT_EQ(ended.errors, "vtrdcctl: line 5: set_lum: takes 0 to 3, not \"on\"\n");
    EXPECT_THAT(server.requests(), ElementsAre("c:get_lum:n:"));
}

TEST_F(VtrdcctlTest, ScriptContinuesOnRequest) {
    scripted_server server{
        socket_, {"r:get_lum:s:2", "e:set_lum:s:No.", "r:set_qml_prop:n:", "r:get_lum:s:3"}};
    const result ended = ctl({"-k", "-"}, std::string{SCRIPT} + "get_lum"); // no newline at the end
    EXPECT_EQ(ended.status, 64);
    EXPECT_EQ(ended.output, "2\n3\n");
    EXPECT_THAT(ended.errors, HasSubstr("\nvtrdcctl: line 6: set_lum: No.\n"));
    EXPECT_THAT(server.requests(),
                ElementsAre("c:get_lum:n:", "c:set_lum:i:9",
                            "c:set_qml_prop:l:label,text,#1\\, or so", "c:get_lum:n:"));
}

TEST_F(VtrdcctlTest, ScriptEndsWithTheDaemon) {
    const scripted_server server{socket_, {"r:get_lum:s:2"}};
    const result ended = ctl({"-k", "-"}, "get_lum\nget_lum\nset_lum on\n");
    EXPECT_EQ(ended.status, 2);
    EXPECT_EQ(ended.output, "2\n");
    EXPECT_THAT(ended.errors, Not(HasSubstr("line 3")));
}

TEST_F(VtrdcctlTest, LostOutputIsAnError) {
    const outcome ended = run({"/bin/sh", "-c", "exec \"$0\" --version >/dev/full", VTRDCCTL});
    EXPECT_EQ(ended.status, 74);
}

// The words that bash offers for the last word of a command line.
words completions(const std::string& command_line) {
    const std::string script = "source <(\"$0\" --completion bash); COMP_WORDS=(" + command_line +
                               "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _vtrdcctl; "
                               "echo \"${COMPREPLY[*]}\"";
    const outcome ended = run({"/bin/bash", "-c", script, VTRDCCTL});
    std::istringstream text{ended.output};
    return {std::istream_iterator<std::string>{text}, {}};
}

TEST_F(VtrdcctlTest, BashCompletesCommandsAndOptions) {
    EXPECT_THAT(completions("vtrdcctl get_l"), ElementsAre("get_lum"));
    EXPECT_THAT(completions("vtrdcctl --json set_ret"),
                ElementsAre("set_reticle_src", "set_reticle_color", "set_reticle_opacity"));
    EXPECT_THAT(completions("vtrdcctl --t"), ElementsAre("--timeout"));
    EXPECT_THAT(completions("vtrdcctl wat"), ElementsAre("watch"));
    EXPECT_THAT(completions("vtrdcctl watch --u"), ElementsAre("--until"));
    EXPECT_THAT(completions("vtrdcctl get_lum --j"), ElementsAre("--json"));
    EXPECT_THAT(completions("vtrdcctl get_lum get_"), IsEmpty());
    EXPECT_THAT(completions("vtrdcctl --timeout ''"), IsEmpty());
    EXPECT_THAT(completions("vtrdcctl --completion ''"), ElementsAre("bash"));
    EXPECT_THAT(completions("vtrdcctl --socket /usr/bi"), ElementsAre("/usr/bin"));
}

// With the real daemon.
class VtrdcctlLiveTest : public VtrdcctlTest {
protected:
    void SetUp() override {
        socket_ = board_.at("/run/vtrdc.socket");
        ASSERT_TRUE(daemon_.wait_until_live());
    }
    void TearDown() override { EXPECT_EQ(daemon_.stop(), 0); }

    board board_;
    vtrdc_daemon daemon_{board_};
};

TEST_F(VtrdcctlLiveTest, CommandsAreAnswered) {
    EXPECT_EQ(ctl({"set_lum", "2"}).output, "");
    EXPECT_EQ(ctl({"get_lum"}).output, "2\n");
    EXPECT_EQ(ctl({"set_reticle_src", "-1"}).status, 0);
    EXPECT_EQ(ctl({"set_origin", "-12.5", "384"}).status, 0);
    EXPECT_EQ(ctl({"set_qml_prop", "label", "text", "--", "-a, [b]"}).status, 0);
    EXPECT_EQ(ctl({"set_qml_prop", "label", "text", "[a,b]"}).status, 0);
    EXPECT_EQ(ctl({"set_qml_prop", "label", "text", ""}).status, 0);
    EXPECT_THAT(read_text(board_.at("/var/log/overlay.log")),
                AllOf(HasSubstr("-a, [b]"), HasSubstr("[a,b]")));
    const result settings = ctl({"print_config"});
    EXPECT_THAT(settings.output, AllOf(HasSubstr("\nluminance=2\n"), HasSubstr("origin_x=-12.5"),
                                       Not(HasSubstr("\n\n"))));

    const result refused = ctl({"set_lum", "4"});
    EXPECT_EQ(refused.status, 1);
    EXPECT_EQ(refused.output, "");
    EXPECT_EQ(refused.errors, "vtrdcctl: set_lum: takes 0 to 3, not 4\n");
    EXPECT_EQ(ctl({"set_qml_prop", "1,2"}).errors,
              "vtrdcctl: set_qml_prop: Invalid argument count\n");
}

TEST_F(VtrdcctlLiveTest, RepliesMatchTheRows) {
    for (const client_command& command : all_commands()) {
        if (command.gives != answer_kind::nothing) {
            const std::string name{command.name};
            const bool is_number = command.gives == answer_kind::number;
            EXPECT_THAT(ctl({"--json", name}).output,
                        ContainsRegex(is_number ? R"("answer":-?[0-9]+\})" : R"("answer":\{")"))
                << name;
        }
    }
}

TEST_F(VtrdcctlLiveTest, RetryStartsARecordingWhileTheLastOneEnds) {
    const result ended = ctl({"--retry", "20", "-"}, "enable_record 1\n"
                                                     "enable_record 0\n"
                                                     "enable_record 1\n");
    EXPECT_EQ(ended.status, 0) << ended.errors;
    EXPECT_EQ(daemon_.count("Creating record branch.. "), 2);
}

} // namespace

// vtrdcctl as its users run it: answers, exit statuses, scripts, completion.
#include "scripted_server.h"
#include "support/daemon.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iterator>
#include <sstream>

using testing::AllOf;
using testing::ElementsAre;
using testing::Gt;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;
using testing::StartsWith;

namespace {

using words = std::vector<std::string>;

constexpr const char* WITH_FILES = R"(exec "$0" "$@" <"$INPUT" 2>"$ERRORS")";

struct result {
    int status;
    std::string output;
    std::string errors;
};

class VtrdcctlTest : public testing::Test {
protected:
    // Runs vtrdcctl with these words, and this on standard input.
    [[nodiscard]] result ctl(const words& arguments, const std::string& input = {}) const {
        words command{"/bin/sh", "-c", WITH_FILES, VTRDCCTL};
        command.insert(command.end(), arguments.begin(), arguments.end());
        const std::string errors = folder_.write("errors", "");
        const outcome ended = run(command, {"INPUT=" + folder_.write("input", input),
                                            "ERRORS=" + errors, "VTRDC_SOCKET=" + socket_});
        return {ended.status, ended.output, read_text(errors)};
    }

    temp_folder folder_;
    std::string socket_ = folder_.path() / "socket";
};

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

TEST_F(VtrdcctlTest, WithoutADaemonNoAnswer) {
    EXPECT_EQ(ctl({"get_lum"}).status, 2);
    EXPECT_EQ(ctl({"get_lum", "--socket", std::string(200, 'x')}).status, 2);
    const scripted_server mute{socket_, {}};
    const result ended = ctl({"--timeout", "0.1", "get_lum"});
    EXPECT_EQ(ended.status, 2);
    EXPECT_EQ(ended.errors, "vtrdcctl: no reply: time-out\n");
}

// The first word of a connection that is closed without one, or that brings something else.
TEST_F(VtrdcctlTest, ClosedConnectionOrStrangerIsNoAnswer) {
    for (const char* reply : {"", "HTTP/1.0 400", "r:get_lum", "x:get_lum:s:2", "r:get_lum:i:2"}) {
        const scripted_server server{socket_, {reply}};
        EXPECT_EQ(ctl({"get_lum"}).status, 2) << reply;
        std::filesystem::remove(socket_);
    }
}

TEST_F(VtrdcctlTest, JsonKeepsEveryText) {
    scripted_server server{socket_,
                           {"r:get_lum:s:2", "r:set_lum:n:", "e:set_origin:s:say \"x\"\n\x01:\xff",
                            "e:set_lum:n:", "r:print_config:s:"}};
    const result ended = ctl({"--json", "--keep-going", "-"},
                             "get_lum\nset_lum 1\nset_origin 1 2\nset_lum 9\nprint_config\n");
    EXPECT_EQ(ended.status, 1);
    EXPECT_EQ(ended.errors, "");
    EXPECT_EQ(ended.output, "{\"command\":\"get_lum\",\"ok\":true,\"answer\":\"2\"}\n"
                            "{\"command\":\"set_lum\",\"ok\":true,\"answer\":null}\n"
                            "{\"command\":\"set_origin\",\"ok\":false,"
                            "\"answer\":\"say \\\"x\\\"\\n\\u0001:\xef\xbf\xbd\"}\n"
                            "{\"command\":\"set_lum\",\"ok\":false,\"answer\":null}\n"
                            "{\"command\":\"print_config\",\"ok\":true,\"answer\":\"\"}\n");
}

TEST_F(VtrdcctlTest, RetryAsksUntilItIsDone) {
    const std::string busy = "e:enable_record:n:";
    scripted_server server{socket_, {busy, busy, "r:enable_record:n:"}};
    EXPECT_EQ(ctl({"enable_record", "1", "--retry", "30"}).status, 0);
    EXPECT_THAT(server.requests(), SizeIs(3));
}

TEST_F(VtrdcctlTest, RetryEndsWithTheTime) {
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
    EXPECT_EQ(ended.errors, "vtrdcctl: line 5: set_lum: takes a number, not \"on\"\n");
    EXPECT_THAT(server.requests(), ElementsAre("c:get_lum:n:"));
}

TEST_F(VtrdcctlTest, ScriptGoesOnWhenTold) {
    scripted_server server{
        socket_, {"r:get_lum:s:2", "e:set_lum:s:No.", "r:set_qml_prop:n:", "r:get_lum:s:3"}};
    const result ended = ctl({"-k", "-"}, std::string{SCRIPT} + "get_lum"); // without a line's end
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

TEST_F(VtrdcctlTest, LostOutputShows) {
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
    EXPECT_THAT(completions("vtrdcctl get_lum --j"), ElementsAre("--json"));
    EXPECT_THAT(completions("vtrdcctl get_lum get_"), IsEmpty());
    EXPECT_THAT(completions("vtrdcctl --timeout ''"), IsEmpty());
    EXPECT_THAT(completions("vtrdcctl --completion ''"), ElementsAre("bash"));
    EXPECT_THAT(completions("vtrdcctl --socket /usr/bi"), ElementsAre("/usr/bin"));
}

// With the daemon itself.
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
    EXPECT_EQ(refused.errors,
              "vtrdcctl: set_lum: failed without a reason; the daemon's log may have one\n");
    EXPECT_EQ(ctl({"set_origin", "1,2,3"}).errors,
              "vtrdcctl: set_origin: Invalid argument count\n");
}

TEST_F(VtrdcctlLiveTest, RecordingStartsWhileTheLastOneEnds) {
    const result ended = ctl({"--retry", "20", "-"}, "enable_record 1\n"
                                                     "enable_record 0\n"
                                                     "enable_record 1\n");
    EXPECT_EQ(ended.status, 0) << ended.errors;
    EXPECT_EQ(daemon_.count("Creating record branch.. "), 2);
}

} // namespace

// Client commands over the socket: exact replies, effects, and stored settings.
#include "support/daemon.h"
#include "support/file_watch.h"

#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <limits>
#include <optional>

using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

constexpr area WHOLE{0, 0, 1024, 768};
constexpr const char* OTHER_CONF = "/etc/other.conf";
constexpr const char* OTHER_SETTINGS = "http_url=http://127.0.0.1:9/elsewhere\n";

class CommandTest : public testing::Test {
protected:
    CommandTest() {
        std::ofstream{board_.at(OTHER_CONF)} << OTHER_SETTINGS;
        daemon_.emplace(board_, std::vector<std::string>{"-c", OTHER_CONF});
    }
    void SetUp() override { ASSERT_TRUE(daemon_->wait_until_live()); }
    void TearDown() override { EXPECT_EQ(daemon_->stop(), 0); }

    std::string ask(const std::string& request) { return daemon_->ask(request); }
    // For a command that answers without text: returns the type of its reply.
    char outcome(const std::string& command, const std::string& data) {
        const std::string reply = ask("c:" + command + ":s:" + data);
        EXPECT_THAT(reply, EndsWith(":" + command + ":n:"));
        return reply.empty() ? '\0' : reply.front();
    }
    std::string config() { return ask("c:print_config:n:"); }

    // Files are written after the request's pass; another request comes in a later pass.
    int writes() {
        EXPECT_EQ(ask("c:get_pip:n:").substr(0, 2), "r:");
        return daemon_->count("[INFO]: Config write takes : ");
    }
    [[nodiscard]] std::string written() const { return read_text(board_.at("/etc/vtrdc.conf")); }

    board board_;
    std::optional<vtrdc_daemon> daemon_;
};

struct exchange_case {
    std::string request;
    std::string reply;
};

TEST_F(CommandTest, RepliesToTheLetter) {
    const std::string noise(2000, 'x');
    const exchange_case cases[] = {
        // message format
        {"x:get_lum:n:", "e:no_cmd:s:Failed to decode the command"},
        {"c:get_lum", "e:no_cmd:s:Failed to decode the command"},
        {"r:get_lum:n:", "e:no_cmd:s:Failed to decode the command"},
        {"c:get_lum:x:", "e:no_cmd:s:Failed to decode the command"},
        {":", "e:no_cmd:s:Failed to decode the command"},
        {noise, "e:no_cmd:s:Failed to decode the command"},
        {"c:get_lum:n", "r:get_lum:s:0"},
        {"::c::get_lum:n:", "r:get_lum:s:0"},
        {"cc:get_lum:nothing:" + noise, "r:get_lum:s:0"},
        {std::string{"c:get_lum:n:\0junk", 17}, "r:get_lum:s:0"},
        {"c:Get_lum:n:", "e:Get_lum:s:Unknown command"},
        {"c:%n%s:n:", "e:%n%s:s:Unknown command"},
        {"c:" + noise + ":n:", "e:" + noise + ":s:Unknown command"},
        // commands that ignore their data
        {"c:get_lum:s:" + noise, "r:get_lum:s:0"},
        {"c:get_pip:i:9", "r:get_pip:s:0"},
        {"c:get_zoom:n:", "r:get_zoom:s:0"},
        {"c:get_reticle:n:", "r:get_reticle:s:1"},
        {"c:get_enc_type:l:1,2", "r:get_enc_type:s:0"},
        {"c:get_mic_volume:n:", "r:get_mic_volume:s:100"},
        {"c:enable_video:i:1", "e:enable_video:n:"},
        {"c:enable_video:s:" + noise, "e:enable_video:n:"},
        {"c:pipeline_state:s:" + noise, "r:pipeline_state:n:"},
        {"c:create_dot:s:" + noise, "r:create_dot:n:"},
        {"c:resume_video:s:" + noise, "r:resume_video:n:"},
        // lists and floating-point numbers
        {"c:set_qml_prop:s:a,b", "e:set_qml_prop:s:Invalid argument count"},
        {"c:set_qml_prop:s:a,b,c,d", "e:set_qml_prop:s:Invalid argument count"},
        {"c:set_qml_prop:s:", "e:set_qml_prop:s:Invalid argument count"},
        {"c:set_qml_prop:s:" + std::string(2000, ','), "e:set_qml_prop:s:Invalid argument count"},
        {"c:set_qml_prop:s:no_such,thing," + noise, "r:set_qml_prop:n:"},
        {"c:set_origin:l:1,2,3", "e:set_origin:s:Invalid argument count"},
        {"c:set_origin:l:", "e:set_origin:s:Invalid argument count"},
        {"c:set_origin:l:" + noise, "e:set_origin:s:Invalid argument count"},
        {"c:set_origin:l:inf,2", "r:set_origin:n:"}, // not stored
        {"c:set_reticle_opacity:s:1.01", "e:set_reticle_opacity:n:"},
        {"c:set_reticle_opacity:s:-1e999", "e:set_reticle_opacity:n:"},
        {"c:set_reticle_opacity:s:nan", "e:set_reticle_opacity:n:"},
        {"c:set_reticle_opacity:s:  0.5x", "r:set_reticle_opacity:n:"},
    };
    for (const exchange_case& each : cases) {
        EXPECT_EQ(ask(each.request), each.reply) << each.request.substr(0, 60);
    }
    EXPECT_THAT(config(), StartsWith("r:print_config:s:socket_file=/run/vtrdc.socket\n"));
    EXPECT_THAT(config(), HasSubstr("\nreticle_opacity=0.50\n"));
    EXPECT_THAT(config(), HasSubstr("\norigin_x=512.00\n"));
    EXPECT_THAT(config(), EndsWith("\nrecord_max_len=300\n"))
        << "settings_list.inc says where a new row goes";
}

// Data read as an integer, and its value.
struct integer_case {
    std::string data;
    int value;
};

std::vector<integer_case> integer_cases() {
    constexpr int lowest = std::numeric_limits<int>::min();
    constexpr int highest = std::numeric_limits<int>::max();
    return {
        {"2", 2},
        {"", 0},
        {"text", 0},
        {std::string(2000, 'x'), 0},
        {"  +1", 1},
        {"1.9,7:8", 1},
        {"-1", -1},
        {"99999999999", highest},
        {"-99999999999", lowest},
        {std::string(2000, '9'), highest},
        {std::string(1900, ' ') + "1", 1},
    };
}

// Effect of an integer: the stored value; none if refused.
template <int Highest> std::optional<int> up_to(int value) {
    return value >= 0 && value <= Highest ? std::optional{value} : std::nullopt;
}
std::optional<int> as_flag(int value) {
    return value != 0 ? 1 : 0;
}
std::optional<int> round_the_five_images(int value) {
    return (value % 5 + 5) % 5;
}

TEST_F(CommandTest, IntegersAreReadFromAnyData) {
    const struct {
        const char* command;
        const char* key;
        std::optional<int> (*stored)(int value);
    } rows[] = {
        {"set_lum", "luminance", up_to<3>},
        {"set_mic_volume", "mic_volume", up_to<100>},
        {"set_enc_type", "enc_type", up_to<2>},
        {"set_nuc_type", "nuc_type", up_to<3>},
        {"set_reticle_color", "reticle_color", up_to<6>},
        {"set_reticle_src", "reticle_source", round_the_five_images},
        {"enable_reticle", "reticle", as_flag},
        {"enable_dot", "red_dot", as_flag},
        {"enable_pip", "pip_mode", as_flag},
    };
    for (const auto& row : rows) {
        for (const integer_case& each : integer_cases()) {
            SCOPED_TRACE(std::string{row.command} + " " + each.data.substr(0, 20));
            const std::string before = config();
            const std::optional<int> stored = row.stored(each.value);
            EXPECT_EQ(outcome(row.command, each.data), stored ? 'r' : 'e');
            if (stored) {
                const std::string line =
                    std::string{"\n"} + row.key + "=" + std::to_string(*stored);
                EXPECT_THAT(config(), HasSubstr(line + "\n"));
            } else {
                EXPECT_EQ(config(), before);
            }
        }
    }
}

TEST_F(CommandTest, PipesAreNumbersToo) {
    const auto exists = [](int pipe) { return pipe == 0 || pipe == 1; };
    for (const integer_case& each : integer_cases()) {
        SCOPED_TRACE(each.data.substr(0, 20));
        EXPECT_EQ(outcome("resume_pipe", each.data), exists(each.value) ? 'r' : 'e');
        EXPECT_EQ(outcome("create_pipe", each.data), 'e');
        if (!exists(each.value)) {
            const bool is_pipe = each.value >= 0 && each.value < 10;
            EXPECT_EQ(outcome("pause_pipe", each.data), 'e');
            // A missing pipe counts as ended.
            EXPECT_EQ(outcome("kill_pipe", each.data), is_pipe ? 'r' : 'e');
        }
    }
    EXPECT_TRUE(daemon_->wait_for("[WARN]: there is no pipe -1\n"));
    EXPECT_EQ(outcome("kill_pipe", "9"), 'r');
    EXPECT_EQ(outcome("kill_pipe", "10"), 'e');
}

TEST_F(CommandTest, EachChangedSettingIsWrittenOnce) {
    const exchange_case changes[] = {
        {"c:set_lum:i:2", "luminance=2"},
        {"c:set_mic_volume:i:44", "mic_volume=44"},
        {"c:set_enc_type:i:1", "enc_type=1"},
        {"c:set_nuc_type:i:2", "nuc_type=2"},
        {"c:set_reticle_color:i:3", "reticle_color=3"},
        {"c:set_reticle_src:i:4", "reticle_source=4"},
        {"c:set_reticle_opacity:s:0.25", "reticle_opacity=0.25"},
        {"c:enable_reticle:i:0", "reticle=0"},
        {"c:enable_dot:i:0", "red_dot=0"},
        {"c:enable_pip:i:4", "pip_mode=1"},
    };
    int expected = 0;
    ASSERT_EQ(writes(), expected);
    for (const auto& [request, line] : changes) {
        EXPECT_EQ(ask(request).substr(0, 2), "r:") << request;
        EXPECT_EQ(writes(), ++expected) << request;
        EXPECT_THAT(written(), HasSubstr("\n" + line + "\n"));
        EXPECT_EQ(ask(request).substr(0, 2), "r:") << request;
        EXPECT_EQ(writes(), expected) << "unchanged by " << request;
    }
    EXPECT_EQ(ask("c:set_lum:i:4"), "e:set_lum:n:");
    EXPECT_EQ(writes(), expected);
    // An origin always counts as changed.
    EXPECT_EQ(ask("c:set_origin:l:512,384"), "r:set_origin:n:");
    EXPECT_EQ(writes(), expected + 1);
    // Everything is in the sight's own file; the file that was read is unchanged.
    EXPECT_EQ("r:print_config:s:" + written(), config());
    EXPECT_THAT(written(), HasSubstr(std::string{"\n"} + OTHER_SETTINGS));
    EXPECT_EQ(read_text(board_.at(OTHER_CONF)), OTHER_SETTINGS);
}

TEST_F(CommandTest, OverlayIsSwitchedAndUpdated) {
    EXPECT_EQ(ask("c:enable_qml:i:0"), "r:enable_qml:n:");
    EXPECT_TRUE(
        board_.wait_for_panel([](const picture& panel) { return panel.red_pixels(WHOLE) == 0; }));
    EXPECT_EQ(ask("c:enable_qml:i:-7"), "r:enable_qml:n:");
    EXPECT_TRUE(
        board_.wait_for_panel([](const picture& panel) { return panel.red_pixels(WHOLE) > 0; }));
    EXPECT_EQ(ask("c:enable_qml:i:nonsense"), "r:enable_qml:n:"); // read as 0
    EXPECT_TRUE(
        board_.wait_for_panel([](const picture& panel) { return panel.red_pixels(WHOLE) == 0; }));
    EXPECT_EQ(ask("c:set_qml_prop:s:lbl,text,a\\,b:c"), "r:set_qml_prop:n:");
    EXPECT_THAT(read_text(board_.at("/var/log/overlay.log")), EndsWith("\nlbl.text:a,b:c\n"));
}

struct pause_case {
    const char* name;
    const char* pause;
    const char* resume;
    bool on_splash = false;
};

void PrintTo(const pause_case& paused, std::ostream* out) {
    *out << paused.name;
}

const pause_case pause_cases[] = {
    {"AllPipes", "pause_video", "resume_video"},
    {"Source", "pause_pipe:i:0", "resume_pipe:i:0"},
    {"Display", "pause_pipe:i:1", "resume_pipe:i:1"},
    {"Splash", "pause_pipe:i:6", "resume_pipe:i:6", true},
};

class PauseTest : public CommandTest, public testing::WithParamInterface<pause_case> {
protected:
    void SetUp() override {
        CommandTest::SetUp();
        if (GetParam().on_splash) {
            ASSERT_EQ(board_.sim({"camera", "off"}), 0);
            ASSERT_TRUE(daemon_->wait_for("Splash Pipeline set to playing"));
            ASSERT_TRUE(board_.wait_for_frames(10));
        }
    }
    // Stopped while it is paused, it is resumed to end by itself.
    void TearDown() override {
        CommandTest::TearDown();
        EXPECT_EQ(daemon_->count("by force"), 0);
    }
    void send(const std::string& command) {
        const std::string request =
            "c:" + command + (command.find(':') == std::string::npos ? ":n:" : "");
        EXPECT_EQ(ask(request), "r:" + command.substr(0, command.find(':')) + ":n:");
    }
};

TEST_P(PauseTest, FreezesResumesAndCanBeStoppedMeanwhile) {
    send(GetParam().pause);
    EXPECT_TRUE(board_.stands_still());
    send(GetParam().pause);
    send(GetParam().resume);
    EXPECT_TRUE(board_.wait_for_frames(10));
    send(GetParam().resume);
    send(GetParam().pause);
}

INSTANTIATE_TEST_SUITE_P(Pipes, PauseTest, testing::ValuesIn(pause_cases),
                         testing::PrintToStringParamName());

TEST_F(CommandTest, LiveViewIsBroughtBackAndLostAgain) {
    static constexpr area middle{100, 100, 800, 500};
    const auto is_dark = [](const picture& panel) {
        return panel.mean(middle) < 60.0 && panel.red_pixels(middle) > 0;
    };
    ASSERT_EQ(board_.sim({"camera", "off"}), 0);
    ASSERT_TRUE(daemon_->wait_for("Splash Pipeline set to playing"));
    EXPECT_TRUE(board_.wait_for_panel(is_dark));
    ASSERT_EQ(board_.sim({"camera", "on"}), 0);
    EXPECT_EQ(ask("c:kill_pipe:i:6"), "r:kill_pipe:n:");
    ASSERT_TRUE(daemon_->wait_for("Got EoS event on pipe 6"));
    EXPECT_EQ(ask("c:create_pipe:i:0"), "r:create_pipe:n:");
    EXPECT_EQ(ask("c:create_pipe:i:0"), "e:create_pipe:n:"); // exists already
    EXPECT_EQ(ask("c:create_pipe:i:1"), "r:create_pipe:n:");
    EXPECT_TRUE(daemon_->wait_until_live());
    ASSERT_EQ(board_.sim({"camera", "off"}), 0);
    EXPECT_TRUE(daemon_->wait_for("Input failed - showing no video indication"));
    EXPECT_TRUE(daemon_->wait_for("Splash Pipeline set to playing"));
    EXPECT_TRUE(board_.wait_for_panel(is_dark));
}

TEST_F(CommandTest, PipesAreDumpedAndDrawn) {
    EXPECT_EQ(ask("c:pipeline_state:n:"), "r:pipeline_state:n:");
    for (const char* line :
         {"[INFO]: -- Bin -- [src-pipe]\n",
          "[INFO]: Element: (SimCamera) camera-source, state: PLAYING\n",
          "[INFO]:    pad: src, dir: SRC <-> peer: sink, parent:g2d-transform, dir:SINK\n",
          "[INFO]: -- Bin end --[src-pipe]\n", "[INFO]: -- Bin -- [display-pipe]\n",
          "[INFO]: -- Bin end --[display-pipe]\n"}) {
        EXPECT_TRUE(daemon_->wait_for(line));
    }
    EXPECT_EQ(ask("c:create_dot:n:"), "r:create_dot:n:");
    int graphs = 0;
    for (const auto& file : std::filesystem::directory_iterator{board_.at("/home/root")}) {
        EXPECT_THAT(file.path().filename().string(),
                    testing::MatchesRegex("(src|display)_20[0-9]{12}\\.dot"));
        EXPECT_THAT(read_text(file.path()), HasSubstr("digraph pipeline {"));
        ++graphs;
    }
    EXPECT_EQ(graphs, 2);
}

} // namespace

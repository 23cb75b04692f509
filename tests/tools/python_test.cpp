// The Python module and its example with the real daemon.
#include "client_fixture.h"
#include "support/daemon.h"
#include "support/file_watch.h"

#include <csignal>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <regex>

using testing::HasSubstr;
using testing::MatchesRegex;

namespace {

class PythonTest : public testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(daemon_.wait_until_live()); }

    [[nodiscard]] pid_t start(const words& arguments) const {
        words command{"/usr/bin/env", "python3", "-B", "-u"};
        command.insert(command.end(), arguments.begin(), arguments.end());
        return spawn(command,
                     environment_with({"PYTHONPATH=" VTRDC_PYTHON_FOLDER,
                                       "VTRDC_SOCKET=" + board_.at("/run/vtrdc.socket").string()}),
                     output_);
    }

    [[nodiscard]] std::string output() const { return read_text(output_); }

    [[nodiscard]] bool wait_for_output(const std::string& text) const {
        return wait_for_file(
            output_, [&] { return output().find(text) != std::string::npos; }, WAIT_LIMIT);
    }

    temp_folder folder_;
    std::filesystem::path output_ = folder_.path() / "output";
    board board_;
    vtrdc_daemon daemon_{board_};
};

constexpr const char* COMMANDS = R"(
import vtrdc

def failure(kind, call):
    try:
        call()
    except kind as error:
        return str(error)
    raise AssertionError(f"not a {kind}")

with vtrdc.Sight() as sight:
    assert sight.set_lum(2) is None and sight.get_lum() == 2
    sight.set_origin(12.5, -3)
    sight.enable_reticle(False)
    settings = sight.print_config()
    assert settings["origin_x"] == 12.5 and settings["reticle"] == 0, settings
    assert settings == sight.status["settings"], (settings, sight.status)
    sight.set_qml_prop("label", "text", "a,b: \u00e4")
    print(failure(vtrdc.Refused, lambda: sight.set_lum(9)))
    print(failure(vtrdc.Refused, lambda: sight.enable_video(True)))
    print(failure(TypeError, lambda: sight.set_lum("2")))
    print(failure(ValueError, lambda: sight.set_origin(1, float("inf"))))
    assert sight.get_lum() == 2
    sight.close()
    assert sight.get_pip() == 0
print(failure(vtrdc.NoAnswer, lambda: vtrdc.Sight("/none/socket").get_lum()))
print(failure(vtrdc.NoAnswer, lambda: vtrdc.Sight("/none/socket").status))
)";

TEST_F(PythonTest, CommandsAreMethods) {
    EXPECT_EQ(wait_for_exit(start({"-c", COMMANDS}), WAIT_LIMIT), 0);
    EXPECT_EQ(output(), "set_lum: takes 0 to 3, not 9\n"
                        "enable_video: this sight's display can't be switched\n"
                        "luminance takes 0 to 3, not '2'\n"
                        "origin_y takes a number, not inf\n"
                        "can't connect to /none/socket: [Errno 2] No such file or directory\n"
                        "the daemon is not running: no /none/vtrdc.status\n");
    EXPECT_THAT(read_text(board_.at("/var/log/overlay.log")), HasSubstr("label.text:a,b: ä\n"));
}

// As on a sight, where the status file is a link.
constexpr const char* WATCH = R"(
import os
import vtrdc
folder = os.path.dirname(os.environ.pop("VTRDC_SOCKET"))
vtrdc.STATUS_PATH = os.path.join(os.path.dirname(folder), "link")
os.symlink(os.path.join(folder, "vtrdc.status"), vtrdc.STATUS_PATH)
sight = vtrdc.Sight()
assert len(list(sight.watch(seconds=0))) == 1
for status in sight.watch():
    print(status["zoom"], status["outputs"]["recording"]["state"])
)";

TEST_F(PythonTest, WatchReportsChangesAndTheEnd) {
    const pid_t watch = start({"-c", WATCH});
    ASSERT_TRUE(wait_for_output("1 off\n"));
    EXPECT_EQ(board_.sim({"press", "zoom"}), 0);
    EXPECT_TRUE(wait_for_output("2 off\n"));
    EXPECT_EQ(daemon_.ask("c:enable_record:i:1"), "r:enable_record:n:");
    EXPECT_TRUE(wait_for_output("2 on\n"));
    daemon_.signal(SIGKILL); // leaves its status file
    EXPECT_EQ(daemon_.wait_exit(WAIT_LIMIT), 128 + SIGKILL);
    EXPECT_EQ(wait_for_exit(watch, WAIT_LIMIT), 1);
    EXPECT_THAT(output(),
                MatchesRegex("(1 off\n)+(2 off\n)+(2 starting\n)*(2 on\n)+Traceback(.|\n)*"
                             "vtrdc.NoAnswer: the daemon is not running: .* ended\n"));
}

TEST_F(PythonTest, ExampleRecordsWhenTheButtonIsPressed) {
    const pid_t example = start({VTRDC_PYTHON_EXAMPLES "/record_on_button.py", "0.5"});
    ASSERT_TRUE(wait_for_output("0.5 seconds.\n"));
    EXPECT_EQ(board_.sim({"press", "zoom"}), 0);
    EXPECT_TRUE(wait_for_output(".mp4\n"));
    kill(example, SIGINT);
    EXPECT_EQ(wait_for_exit(example, WAIT_LIMIT), 0);
    std::smatch file;
    const std::string text = output();
    ASSERT_TRUE(std::regex_search(text, file, std::regex{"\n(/media/.*_00\\.mp4)\n$"})) << text;
    EXPECT_GT(std::filesystem::file_size(board_.at(file.str(1))), 0U);
    EXPECT_EQ(daemon_.stop(), 0);
}

} // namespace

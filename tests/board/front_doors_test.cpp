// The scripts: how they call package tools, build tools and the daemon. Fake tools, first in PATH,
// record their calls.
#include "run.h"

#include "support/file_watch.h"
#include "support/temp_folder.h"

#include <array>
#include <csignal>
#include <cstdlib>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <utility>

namespace fs = std::filesystem;

using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

class FrontDoorTest : public testing::Test {
protected:
    // Makes a fake tool that records its calls in the file "calls".
    void stand_in(const std::string& name, const std::string& script) const {
        make_program("bin/" + name, "echo \"${0##*/} $*\" >>'" + at("calls") + "'\n" + script);
    }

    void make_program(const std::string& name, const std::string& script) const {
        fs::permissions(folder_.write(name, "#!/bin/sh\n" + script), fs::perms::owner_all);
    }

    [[nodiscard]] std::string at(const std::string& name) const { return folder_.path() / name; }

    // Runs a script with the fake tools and a temporary build folder.
    [[nodiscard]] outcome open_door(const std::string& door, const std::vector<std::string>& words,
                                    std::vector<std::string> assignments = {}) const {
        assignments.push_back("PATH=" + at("bin") + ":" + std::getenv("PATH"));
        assignments.push_back("VTRDC_BUILD_DIR=" + at("build"));
        return run(front_door(door, words), assignments);
    }

    [[nodiscard]] std::string calls() const { return read_text(at("calls")); }

    temp_folder folder_;
};

TEST_F(FrontDoorTest, SetupInstallsOnlyWhatIsMissing) {
    stand_in("apt-get", "");
    stand_in("systemctl", "");
    stand_in("sudo", "exec \"$@\"");
    EXPECT_EQ(open_door("scripts/setup", {}).status, 0);
    EXPECT_EQ(calls(), "");

    make_program("bin/dpkg-query", "/usr/bin/dpkg-query \"$@\" | sed -e '/^opencv-doc/d' -e "
                                   "'s/^\\(cmake .\\)i/\\1U/'\n");
    EXPECT_EQ(open_door("scripts/setup", {}).status, 0);
    EXPECT_THAT(calls(), HasSubstr("apt-get update"));
    EXPECT_THAT(calls(), EndsWith("--no-install-recommends cmake opencv-doc\n"));
}

TEST_F(FrontDoorTest, SetupKeepsTheBrokerFromBecomingAService) {
    stand_in("apt-get", "");
    stand_in("systemctl", "");
    stand_in("sudo", "exec \"$@\"");
    stand_in("npm", "");
    make_program("bin/dpkg-query", "");
    EXPECT_EQ(open_door("scripts/setup", {"--tests"}).status, 0);
    EXPECT_THAT(calls(), HasSubstr(" redis-server "));
    const bool held_back = calls().find("systemctl mask") < calls().find("apt-get install");
    EXPECT_EQ(held_back, fs::exists("/run/systemd/system"));
}

TEST_F(FrontDoorTest, BuildIsQuietWithNothingToDo) {
    stand_in("cmake", "echo configuring");
    stand_in("ninja", "echo 'ninja: no work to do.'");
    const outcome daily = open_door("scripts/build", {}, {"CI="});
    EXPECT_EQ(daily.status, 0);
    EXPECT_EQ(daily.output, "");
    EXPECT_THAT(calls(), AllOf(HasSubstr("--preset release"), HasSubstr("VTRDC_WERROR=OFF")));
    EXPECT_EQ(open_door("scripts/build", {"--sanitize"}, {"CI=true"}).status, 0);
    EXPECT_THAT(calls(), AllOf(HasSubstr("--preset asan"), HasSubstr("VTRDC_WERROR=ON")));
}

TEST_F(FrontDoorTest, BuildFailsWithItsTools) {
    stand_in("cmake", "");
    stand_in("ninja", "echo 'FAILED: vtrdc'; exit 1");
    const outcome broken_source = open_door("scripts/build", {});
    EXPECT_NE(broken_source.status, 0);
    EXPECT_THAT(broken_source.output, HasSubstr("FAILED: vtrdc"));

    stand_in("cmake", "echo 'no such package'; exit 1");
    const outcome broken_set_up = open_door("scripts/build", {});
    EXPECT_NE(broken_set_up.status, 0);
    EXPECT_THAT(broken_set_up.output, HasSubstr("no such package"));

    EXPECT_EQ(open_door("scripts/build", {"--nonsense"}).status, 2);
}

TEST_F(FrontDoorTest, ArmRootIsMadeOnceAndRemadeIfIncomplete) {
    stand_in("sudo", "exec \"$@\"");
    stand_in("chroot", "");
    stand_in("apt-config", "");
    stand_in("apt-get", "[ \"$1\" != indextargets ] || . /etc/os-release\n"
                        "echo here other-$VERSION_CODENAME main\n"
                        "echo mirror $VERSION_CODENAME main\n");
    stand_in("debootstrap", "mkdir -p \"$3/etc/apt\" \"$3/dev\"\nln -s /etc/apt \"$3/link\"\n"
                            "echo 'disk full'\nexit 1");
    const outcome failed = open_door("scripts/armhf-root", {});
    EXPECT_EQ(failed.status, 1);
    EXPECT_THAT(failed.output, HasSubstr("disk full\n"));
    EXPECT_FALSE(fs::exists(at("build/armhf-root")));

    stand_in("debootstrap",
             "mkdir \"$3\" && cd \"$3\" && mkdir -p etc/apt dev && ln -s /etc/apt link");
    EXPECT_EQ(open_door("scripts/armhf-root", {}).status, 0);
    EXPECT_EQ(fs::read_symlink(at("build/armhf-root/link")), "etc/apt");
    EXPECT_FALSE(fs::exists(at("build/armhf-root/dev")));
    EXPECT_THAT(calls(), AllOf(HasSubstr("armhf-root.partial mirror\n"),
                               HasSubstr(" libhiredis-dev:armhf ")));

    const std::string before = calls();
    EXPECT_EQ(open_door("scripts/armhf-root", {}).status, 0);
    EXPECT_EQ(calls(), before);
    fs::remove(at("build/armhf-root/recipe"));
    EXPECT_EQ(open_door("scripts/armhf-root", {}).status, 0);
    EXPECT_NE(calls(), before);
}

class SimDoorTest : public FrontDoorTest {
protected:
    SimDoorTest() {
        make_program("build/vtrdc", "echo pid $$\n"
                                    "echo options \"$@\"\n"
                                    "echo root \"$VTRDC_SYSROOT\"\n"
                                    "echo plugins \"[$GST_PLUGIN_PATH]\"\n"
                                    "echo registry \"$GST_REGISTRY\"\n"
                                    "echo without \"[$VTRDC_SIM_WITHOUT]\"\n"
                                    "echo tools \"${PATH%%:*}\"\n"
                                    "exit 7\n");
        fs::create_directories(at("build/sim"));
        fs::create_directory_symlink(VTRDC_BINARY_DIR "/sim/tools", at("build/sim/tools"));
    }

    // A fake page server that records its call.
    void serve_page_with(const std::string& script) const {
        make_program("build/web/vtrdc-web", "echo \"$*\" >>'" + at("calls") + "'\n" + script);
    }

    // Without --headless; in its own session, so that a signal can reach all its processes. The
    // copier of the daemon's output may end a little later: waits for its last line.
    [[nodiscard]] outcome become_daemon_beside_page(const std::string& last_words) const {
        std::vector<std::string> words = front_door(
            "scripts/sim", {"--no-build", "--board", at("b"), "--port", "9000", "--", "-v"});
        words.insert(words.begin(), "/usr/bin/setsid");
        const pid_t pid =
            spawn(words, environment_with({"VTRDC_BUILD_DIR=" + at("build")}), at("output"));
        const int status = wait_for_exit(pid, WAIT_LIMIT);
        for (const std::string& copy : {at("output"), at("b/var/log/vtrdc.log")}) {
            EXPECT_TRUE(wait_for_file(
                copy, [&] { return read_text(copy).ends_with(last_words); }, WAIT_LIMIT))
                << copy << " holds " << read_text(copy);
        }
        return {status, read_text(at("output")), pid};
    }

    [[nodiscard]] outcome become_daemon(const std::vector<std::string>& assignments) const {
        return open_door("scripts/sim",
                         {"--no-build", "--headless", "--board", at("b"), "--", "-v", "-c", "a b"},
                         assignments);
    }
};

TEST_F(SimDoorTest, BecomesTheDaemonWithTheBoardsEnvironment) {
    const outcome daemon =
        become_daemon({"GST_REGISTRY=/own/registry.bin", "GST_PLUGIN_PATH=/own"});
    EXPECT_EQ(daemon.status, 7);
    EXPECT_THAT(daemon.output, HasSubstr("pid " + std::to_string(daemon.pid) + "\n"));
    EXPECT_THAT(daemon.output, HasSubstr("options -v -c a b\n"));
    EXPECT_THAT(daemon.output, HasSubstr("root " + at("b") + "\n"));
    EXPECT_THAT(daemon.output, HasSubstr("tools " + at("b/usr/bin") + "\n"));
    EXPECT_THAT(daemon.output, HasSubstr("plugins [" + at("build/sim/plugins") + ":/own]\n"));
    EXPECT_THAT(daemon.output, HasSubstr("registry /own/registry.bin\n"));
    // Printed before the start, for the user.
    EXPECT_THAT(daemon.output, HasSubstr(at("b/run/vtrdc.socket") + "\n"));

    // Set but empty: no stand-ins, as on a machine that lacks them.
    EXPECT_THAT(become_daemon({"GST_PLUGIN_PATH="}).output, HasSubstr("plugins []\n"));
}

TEST_F(SimDoorTest, ElementsOfAFolderReplaceStandIns) {
    fs::create_directories(at("own"));
    fs::copy_file(VTRDC_BINARY_DIR "/sim/plugins/libgstalsa.so", at("own/libgstalsa.so"));
    const auto become_with = [this](const std::string& folder) {
        return open_door("scripts/sim",
                         {"--no-build", "--headless", "--board", at("b"), "--elements", folder});
    };
    EXPECT_THAT(become_with(at("own")).output,
                AllOf(HasSubstr("plugins [" + at("own") + ":" + at("build/sim/plugins") + "]\n"),
                      HasSubstr("without [alsasrc]\n")));
    EXPECT_EQ(become_with(at("build")).status, 2) << "nothing in it";
    EXPECT_EQ(become_with(at("nonsense")).status, 2);
    EXPECT_THAT(become_daemon({"VTRDC_SIM_WITHOUT=perf"}).output, HasSubstr("without []\n"));
}

// With the same registry, which notices the changed list.
TEST_F(SimDoorTest, StandInsYieldToElementsOfTheSameName) {
    const auto is_there = [this](const std::string& element, const std::string& replaced) {
        return run({"/usr/bin/gst-inspect-1.0", "--exists", element},
                   {"GST_PLUGIN_PATH=" VTRDC_BINARY_DIR "/sim/plugins",
                    "GST_REGISTRY=" + at("registry"), "VTRDC_SIM_WITHOUT=" + replaced})
                   .status == 0;
    };
    for (const std::string& replaced : std::vector<std::string>{"", "perf\nalsasrc", "perf", ""}) {
        EXPECT_EQ(is_there("perf", replaced), replaced.empty()) << replaced;
        EXPECT_TRUE(is_there("interpipesrc", replaced)) << replaced;
    }
}

TEST_F(SimDoorTest, ReportsAMissingBuild) {
    fs::remove_all(at("build"));
    const outcome daemon = become_daemon({});
    EXPECT_EQ(daemon.status, 1);
    EXPECT_THAT(daemon.output, HasSubstr("build first"));
    const outcome press = open_door("scripts/sim", {"--board", at("b"), "press", "zoom"});
    EXPECT_EQ(press.status, 1);
    EXPECT_THAT(press.output, HasSubstr("build first"));
}

TEST_F(SimDoorTest, WhenInstalledBuildsNothingAndHasItsOwnName) {
    const std::vector<std::string> installed{"VTRDC_FRONT_DOOR=board-tool",
                                             "VTRDC_SIM_BOARD=" + at("b")};
    stand_in("cmake", "");
    const outcome daemon = open_door("scripts/sim", {"--", "-v"}, installed);
    EXPECT_EQ(daemon.status, 7);
    EXPECT_THAT(daemon.output, AllOf(HasSubstr("(board-tool --board " + at("b") + " shot"),
                                     HasSubstr("root " + at("b") + "\n")));
    EXPECT_FALSE(fs::exists(at("calls")));
    EXPECT_EQ(open_door("scripts/sim", {"--armhf"}, installed).status, 2);
    EXPECT_THAT(open_door("scripts/sim", {"--help"}, installed).output,
                AllOf(HasSubstr("Usage: board-tool "), Not(HasSubstr("--no-build"))));
    EXPECT_THAT(open_door("scripts/sim", {"dance"}, installed).output,
                EndsWith("board-tool: unknown verb: dance (see --help)\n"));
    make_program("build/vtrdc",
                 "[ \"$*\" = -h ] && echo 'Controller ver:4.5.6(some name), rest'\n");
    EXPECT_EQ(open_door("scripts/sim", {"--version"}, installed).output, "board-tool 4.5.6\n");
}

TEST_F(SimDoorTest, StartsThePageAndLogsTheDaemonsOutput) {
    serve_page_with("echo http://127.0.0.1:9000/");
    folder_.write("b/var/log/vtrdc.log", "of the day before\n");
    const outcome daemon = become_daemon_beside_page("tools " + at("b/usr/bin") + "\n");
    EXPECT_EQ(daemon.status, 7);
    EXPECT_THAT(daemon.output, AllOf(HasSubstr("page:      http://127.0.0.1:9000/\n"),
                                     HasSubstr("pid " + std::to_string(daemon.pid) + "\n")));
    EXPECT_THAT(calls(), AllOf(HasSubstr("--board " + at("b") + " "), HasSubstr("--port 9000 "),
                               HasSubstr("--background -- --no-build --headless -- -v\n")));
    EXPECT_THAT(read_text(at("b/var/log/vtrdc.log")),
                AllOf(StartsWith("pid "), HasSubstr("options -v\n")));

    const outcome page =
        open_door("scripts/sim", {"page", "--port=9001", "--board", at("b")}, {"VTRDC_SYSROOT="});
    EXPECT_EQ(page.status, 0);
    EXPECT_THAT(calls(), EndsWith("--port 9001 -- --no-build --headless --\n"));
}

TEST_F(SimDoorTest, ContinuesWhenThePageCannotBeServed) {
    serve_page_with("echo 'that port is taken' >&2\nexit 1");
    const outcome daemon = become_daemon_beside_page("tools " + at("b/usr/bin") + "\n");
    EXPECT_EQ(daemon.status, 7);
    EXPECT_THAT(daemon.output,
                AllOf(HasSubstr("sim: that port is taken; the daemon runs without a page\n"),
                      HasSubstr("options -v\n"), Not(HasSubstr("page:"))));
}

// The first is from another build, and its program was rebuilt since.
TEST_F(SimDoorTest, RefusesASecondDaemonBeforeItTouchesTheBoard) {
    serve_page_with("echo http://127.0.0.1:9000/");
    const std::string log = folder_.write("b/var/log/vtrdc.log", "of the first\n");
    const std::string program = folder_.write("other-build/vtrdc", "");
    fs::copy_file("/usr/bin/sleep", program, fs::copy_options::overwrite_existing);
    fs::permissions(program, fs::perms::owner_all);
    const auto on_this_board = environment_with({"VTRDC_SYSROOT=" + at("b")});
    const pid_t first = spawn({program, "1000"}, on_this_board, at("first"));
    const pid_t tool = spawn({"/usr/bin/sleep", "1000"}, on_this_board, at("tool"));
    fs::remove(program);

    const outcome second = open_door("scripts/sim", {"--no-build", "--board", at("b")});
    EXPECT_EQ(second.status, 1);
    EXPECT_EQ(second.output, "sim: this board is in use: its daemon has process id " +
                                 std::to_string(first) + " (another board: --board DIR)\n");
    EXPECT_EQ(read_text(log), "of the first\n");
    EXPECT_EQ(calls(), "");
    EXPECT_FALSE(fs::exists(at("b/dev")));

    kill(first, SIGKILL);
    wait_for_exit(first, WAIT_LIMIT);
    EXPECT_EQ(become_daemon({}).status, 7); // a tool that outlives its daemon doesn't count
    kill(tool, SIGKILL);
    wait_for_exit(tool, WAIT_LIMIT);
}

// On a new board and on one that was just released.
TEST_F(SimDoorTest, OnlyOneOfTwoSimultaneousStartsSucceeds) {
    fs::copy_file("/usr/bin/sleep", at("build/vtrdc"), fs::copy_options::overwrite_existing);
    const std::vector<std::string> assignments{"VTRDC_BUILD_DIR=" + at("build")};
    for (int round = 0; round < 4; ++round) {
        SCOPED_TRACE(round);
        const std::string board = at("b" + std::to_string(round / 2));
        const auto start = [&](const std::string& output) {
            return spawn(front_door("scripts/sim",
                                    {"--no-build", "--headless", "--board", board, "--", "1000"}),
                         environment_with(assignments), at(output));
        };
        const std::string number = std::to_string(round);
        std::array<std::pair<pid_t, std::string>, 2> racers{
            std::pair{start("first" + number), at("first" + number)},
            std::pair{start("second" + number), at("second" + number)}};
        // Either may give up.
        constexpr std::chrono::milliseconds between_looks{5};
        for (auto left = WAIT_LIMIT / between_looks;
             left > 0 && !has_ended(racers[0].first, between_looks); --left) {
            std::swap(racers[0], racers[1]);
        }
        const auto& [loser, said] = racers[0];
        EXPECT_EQ(wait_for_exit(loser, WAIT_LIMIT), 1);
        EXPECT_EQ(read_text(said), "sim: this board is in use: its daemon has process id " +
                                       std::to_string(racers[1].first) +
                                       " (another board: --board DIR)\n");
        EXPECT_EQ(kill(racers[1].first, SIGKILL), 0);
        EXPECT_EQ(wait_for_exit(racers[1].first, WAIT_LIMIT), 128 + SIGKILL);
    }
}

TEST_F(SimDoorTest, ResetsTheThermalCoreButKeepsItsFault) {
    for (const char* name : {"zoom", "pip", "nuc", "shutter", "fail"}) {
        folder_.write(std::string{"b/var/lib/vtrcore/"} + name, "2\n");
    }
    folder_.write("b/var/lib/vtrcore/origin", "435 327\n");
    EXPECT_EQ(open_door("scripts/sim", {"layout", "--board", at("b")}).status, 0);
    EXPECT_EQ(read_text(at("b/var/lib/vtrcore/zoom")), "2\n"); // a daemon may be running
    EXPECT_EQ(become_daemon({}).status, 7);
    std::vector<std::string> left;
    for (const fs::directory_entry& each : fs::directory_iterator{at("b/var/lib/vtrcore")}) {
        left.push_back(each.path().filename());
    }
    EXPECT_THAT(left, ElementsAre("fail"));
}

TEST_F(SimDoorTest, LastLinesAreLoggedWhenASignalReachesAllProcesses) {
    serve_page_with("echo http://127.0.0.1:9000/");
    make_program("build/vtrdc", "trap 'echo on error >&2; echo goodbye; exit 7' TERM\n"
                                "echo hello\n"
                                "until grep -q hello '" +
                                    at("b/var/log/vtrdc.log") +
                                    "'; do sleep 0.01; done\n"
                                    "kill -TERM 0\n");
    EXPECT_EQ(become_daemon_beside_page("hello\non error\ngoodbye\n").status, 7);
}

TEST_F(SimDoorTest, SocketPathIsMeasuredAsTheDaemonBuildsIt) {
    const std::vector<std::string> words{"layout", "--board", at("b")};
    const auto room = 107 - at("b").size();
    const std::string longest = "/" + std::string(room - 1, 's');
    folder_.write("b/etc/vtrdc.conf", "socket_file=/run/x\nsocket_file=" + longest + "\n");
    EXPECT_EQ(open_door("scripts/sim", words).status, 0);
    fs::remove_all(at("b/dev"));
    folder_.write("b/etc/vtrdc.conf", "socket_file=" + longest + "s\n");
    const outcome refused = open_door("scripts/sim", words);
    EXPECT_EQ(refused.status, 2);
    EXPECT_THAT(refused.output, HasSubstr("too long"));
    EXPECT_FALSE(fs::exists(at("b/dev")));
}

TEST_F(SimDoorTest, RefusesInvalidArguments) {
    const std::vector<std::string> refused[] = {
        {"layout", "now"},
        {"press", "zoom", "nuc"},
        {"shot", "a.png", "b.png"},
        {"hdmi", "on", "--", "-v"},
        {"page", "--port", "x"},
        {"page", "--port", "0"},
        {"page", "--port=65536"},
        {"page", "--port"},
        {"scene"},
        {"layout", "--board", at("a:b")},
        {"layout", "--board", "/"},
    };
    for (const std::vector<std::string>& words : refused) {
        std::vector<std::string> all{"--board", at("b")};
        all.insert(all.end(), words.begin(), words.end());
        EXPECT_EQ(open_door("scripts/sim", all).status, 2) << words.front() << " " << words.back();
    }
    EXPECT_FALSE(fs::exists(at("b")));
    EXPECT_THAT(open_door("scripts/sim", {"--board", at("b"), "hdmi", "on"}).output,
                HasSubstr("no board folder"));
}

} // namespace

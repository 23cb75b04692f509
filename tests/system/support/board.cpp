// A simulated board for a test.
#include "support/board.h"

#include "support/file_watch.h"

#include <fstream>
#include <gtest/gtest.h>

namespace fs = std::filesystem;

board::board(const std::string& settings) {
    EXPECT_EQ(sim({"layout"}), 0);
    // Faster than footage: loading a decoder's libraries takes a fifth of a start.
    fs::remove(at("/dev/video0"));
    fs::create_symlink("../footage/drawn-scene", at("/dev/video0"));
    if (!settings.empty()) {
        std::ofstream{at("/etc/vtrdc.conf")} << settings;
    }
    // Each board has its own plug-in registry, copied from an earlier one if there is one.
    std::error_code none_made;
    fs::copy_file(VTRDC_BINARY_DIR "/gstreamer-registry.bin", folder_.path() / "registry.bin",
                  none_made);
}

fs::path board::at(std::string_view sight_path) const {
    return folder_.path() / "b" / sight_path.substr(1);
}

std::vector<std::string> board::command(const std::vector<std::string>& words) const {
    std::vector<std::string> result{VTRDC_SOURCE_DIR "/scripts/sim", "--board",
                                    folder_.path() / "b"};
    result.insert(result.end(), words.begin(), words.end());
    return result;
}

std::vector<std::string> board::environment(const std::vector<std::string>& assignments) const {
    std::vector<std::string> all{"VTRDC_BUILD_DIR=" VTRDC_BINARY_DIR,
                                 "GST_REGISTRY=" + (folder_.path() / "registry.bin").string()};
    all.insert(all.end(), assignments.begin(), assignments.end());
    return environment_with(all);
}

int board::sim(const std::vector<std::string>& words) const {
    const pid_t process = spawn(command(words), environment({}), folder_.path() / "sim.out");
    return wait_for_exit(process, WAIT_LIMIT);
}

pid_t board::start(const std::vector<std::string>& options,
                   const std::vector<std::string>& assignments, const fs::path& output) const {
    std::vector<std::string> words{"--no-build", "--headless", "--"};
    words.insert(words.end(), options.begin(), options.end());
    return spawn(command(words), environment(assignments), output);
}

std::string board::daemon_binary() {
    return VTRDC_BINARY_DIR "/vtrdc";
}

int board::take_shot(const fs::path& file) const {
    const pid_t process =
        spawn({VTRDC_BINARY_DIR "/sim/tools/vtrdc-sim-shot", at("/dev/fb0"), file}, environment({}),
              folder_.path() / "sim.out");
    return wait_for_exit(process, WAIT_LIMIT);
}

picture board::panel() const {
    const fs::path file = folder_.path() / "panel.png";
    EXPECT_EQ(take_shot(file), 0);
    return picture{file};
}

bool board::wait_for_panel(const std::function<bool(const picture&)>& right) const {
    return wait_for_file(
        at("/dev/fb0"), [&] { return right(panel()); }, WAIT_LIMIT);
}

bool board::wait_for_frames(int count, std::chrono::milliseconds timeout) const {
    fs::file_time_type shown = fs::last_write_time(at("/dev/fb0"));
    const auto all_shown = [&] {
        const fs::file_time_type now = fs::last_write_time(at("/dev/fb0"));
        count -= now == shown ? 0 : 1;
        shown = now;
        return count <= 0;
    };
    return wait_for_file(at("/dev/fb0"), all_shown, timeout);
}

bool board::stands_still() const {
    // Of fifteen in half a second.
    return !wait_for_frames(6, std::chrono::milliseconds{500});
}

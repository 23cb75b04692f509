// A simulated board of one test's own.
#pragma once

#include "support/picture.h"
#include "support/process.h"
#include "support/temp_folder.h"

#include <functional>
#include <string>
#include <string_view>
#include <vector>

class board {
public:
    // Lays the folder out as scripts/sim does, with these lines as the settings file.
    explicit board(const std::string& settings = {});

    // Where a path of the sight, such as "/dev/fb0", stands on this machine.
    [[nodiscard]] std::filesystem::path at(std::string_view sight_path) const;

    // Runs scripts/sim on this board with these words: its exit status.
    [[nodiscard]] int sim(const std::vector<std::string>& words) const;

    // Starts scripts/sim as the daemon with these options; its process id.
    [[nodiscard]] pid_t start(const std::vector<std::string>& options,
                              const std::vector<std::string>& environment,
                              const std::filesystem::path& output) const;

    // The daemon's own program, for running it without a board's environment.
    [[nodiscard]] static std::string daemon_binary();

    // Writes what the panel shows, or showed last, as a PNG file: exit status of the tool.
    [[nodiscard]] int take_shot(const std::filesystem::path& file) const;

    // What the panel shows, or showed last.
    [[nodiscard]] picture panel() const;

    // Waits until the panel shows a picture of which the test says that it is the right one.
    [[nodiscard]] bool wait_for_panel(const std::function<bool(const picture&)>& right) const;

    // Waits until that many more pictures were shown; there are 30 a second.
    [[nodiscard]] bool wait_for_frames(int count,
                                       std::chrono::milliseconds timeout = WAIT_LIMIT) const;

    // True when the panel keeps its picture. The one or two that were on their way when the video
    // was paused are waited for.
    [[nodiscard]] bool stands_still() const;

private:
    [[nodiscard]] std::vector<std::string> command(const std::vector<std::string>& words) const;
    [[nodiscard]] std::vector<std::string>
    environment(const std::vector<std::string>& assignments) const;

    temp_folder folder_;
};

// A simulated board for a test.
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
    // Lays out the folder like scripts/sim, with this settings file.
    explicit board(const std::string& settings = {});

    // The path on this machine of a path on the sight, such as "/dev/fb0".
    [[nodiscard]] std::filesystem::path at(std::string_view sight_path) const;

    // Runs scripts/sim on this board with these arguments; returns its exit status.
    [[nodiscard]] int sim(const std::vector<std::string>& words) const;

    // Starts the daemon with these options through scripts/sim; returns its process id.
    [[nodiscard]] pid_t start(const std::vector<std::string>& options,
                              const std::vector<std::string>& assignments,
                              const std::filesystem::path& output) const;

    // The daemon's executable, for running it without a board's environment.
    [[nodiscard]] static std::string daemon_binary();

    // Saves the panel's current or last picture as PNG; returns the tool's exit status.
    [[nodiscard]] int take_shot(const std::filesystem::path& file) const;

    // The panel's current or last picture.
    [[nodiscard]] picture panel() const;

    // Waits until a picture on the panel satisfies the test.
    [[nodiscard]] bool wait_for_panel(const std::function<bool(const picture&)>& right) const;

    // Waits for that many more pictures; there are 30 a second.
    [[nodiscard]] bool wait_for_frames(int count,
                                       std::chrono::milliseconds timeout = WAIT_LIMIT) const;

    // True if the panel's picture doesn't change. Waits for the one or two that were in flight when
    // the video was paused.
    [[nodiscard]] bool stands_still() const;

private:
    [[nodiscard]] std::vector<std::string> command(const std::vector<std::string>& words) const;
    [[nodiscard]] std::vector<std::string>
    environment(const std::vector<std::string>& assignments) const;

    temp_folder folder_;
};

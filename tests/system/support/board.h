// A simulated board of one test's own.
#pragma once

#include "support/picture.h"
#include "support/temp_folder.h"

#include <chrono>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

// Time that anything a test waits for may take on a loaded machine.
inline constexpr std::chrono::seconds WAIT_LIMIT{30};

class board {
public:
    // Lays the folder out as scripts/sim does.
    board();

    // Where a path of the sight, such as "/dev/fb0", stands on this machine.
    [[nodiscard]] std::filesystem::path at(std::string_view sight_path) const;

    // Runs a verb of scripts/sim on this board; its exit status.
    [[nodiscard]] int sim(const std::vector<std::string>& verb) const;

    // What the panel shows.
    [[nodiscard]] picture panel() const;

    // Waits until the panel shows a picture of which the test says that it is the right one.
    [[nodiscard]] bool wait_for_panel(const std::function<bool(const picture&)>& right) const;

private:
    temp_folder folder_;
};

// The environment of this process with some variables set, as "NAME=value" texts.
std::vector<std::string> environment_with(const std::vector<std::string>& assignments);

// The command line that becomes the daemon on the board, options last.
std::vector<std::string> sim_command(const board& board, const std::vector<std::string>& options);

// Starts a program; its process id. Standard output and error go to the file, if one is named.
pid_t spawn(const std::vector<std::string>& command, const std::vector<std::string>& environment,
            const std::filesystem::path& output);

// Waits for the process to end: its exit status, 128 + signal when one ended it; -1 and the
// process killed when it did not end in time.
int wait_for_exit(pid_t process, std::chrono::milliseconds timeout);

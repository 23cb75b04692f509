// Observes the keeper of a board's buttons.
#include "keeper.h"

#include <algorithm>

namespace fs = std::filesystem;

namespace {

// True if one of the keeper's descriptors is a pidfd of the process.
bool is_watching(pid_t keeper, pid_t process) {
    const std::string handle = "\nPid:\t" + std::to_string(process) + "\n";
    const fs::path descriptors = "/proc/" + std::to_string(keeper) + "/fdinfo";
    std::error_code ended;
    const fs::directory_iterator all{descriptors, ended};
    return std::any_of(begin(all), end(all), [&handle](const fs::directory_entry& each) {
        return read_text(each.path()).find(handle) != std::string::npos;
    });
}

} // namespace

std::vector<pid_t> keepers(const board& board) {
    std::vector<pid_t> found;
    for (const auto& entry : fs::directory_iterator{"/proc"}) {
        const std::string command = read_text(entry.path() / "cmdline");
        if (command.find("vtrdc-sim-buttons") != std::string::npos &&
            command.find(board.at("/dev/input/event1").string()) != std::string::npos) {
            found.push_back(static_cast<pid_t>(std::stol(entry.path().filename())));
        }
    }
    return found;
}

bool wait_until_watching(pid_t keeper, pid_t process) {
    // No event tells when a process opens a descriptor, so poll.
    constexpr std::chrono::milliseconds between_looks{5};
    while (!is_watching(keeper, process)) {
        if (has_ended(keeper, between_looks)) {
            return false;
        }
    }
    return true;
}

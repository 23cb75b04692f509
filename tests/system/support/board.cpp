// A simulated board of one test's own.
#include "support/board.h"

#include "support/file_watch.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

std::vector<char*> pointers(const std::vector<std::string>& texts) {
    std::vector<char*> result;
    result.reserve(texts.size() + 1);
    for (const std::string& text : texts) {
        result.push_back(const_cast<char*>(text.c_str()));
    }
    result.push_back(nullptr);
    return result;
}

std::vector<std::string> sim_words(const std::vector<std::string>& words) {
    std::vector<std::string> command{VTRDC_SOURCE_DIR "/scripts/sim"};
    command.insert(command.end(), words.begin(), words.end());
    return command;
}

std::vector<std::string> sim_environment() {
    return environment_with({"VTRDC_BUILD_DIR=" VTRDC_BINARY_DIR});
}

} // namespace

board::board() {
    EXPECT_EQ(sim({"layout"}), 0);
    // Each board has its own registry of plug-ins, from a copy where one was made before.
    std::error_code none_made;
    fs::copy_file(VTRDC_BINARY_DIR "/gstreamer-registry.bin", at("/registry.bin"), none_made);
}

fs::path board::at(std::string_view sight_path) const {
    return folder_.path() / "b" / sight_path.substr(1);
}

int board::sim(const std::vector<std::string>& verb) const {
    std::vector<std::string> words = verb;
    words.insert(words.end(), {"--board", folder_.path() / "b"});
    const pid_t process = spawn(sim_words(words), sim_environment(), folder_.path() / "sim.out");
    return wait_for_exit(process, WAIT_LIMIT);
}

picture board::panel() const {
    const fs::path file = folder_.path() / "panel.png";
    EXPECT_EQ(sim({"shot", file}), 0);
    return picture{file};
}

bool board::wait_for_panel(const std::function<bool(const picture&)>& right) const {
    return wait_for_file(
        at("/dev/fb0"), [&] { return right(panel()); }, WAIT_LIMIT);
}

std::vector<std::string> environment_with(const std::vector<std::string>& assignments) {
    std::vector<std::string> result;
    const auto is_replaced = [&](std::string_view entry) {
        for (const std::string& assignment : assignments) {
            if (entry.starts_with(assignment.substr(0, assignment.find('=') + 1))) {
                return true;
            }
        }
        return false;
    };
    for (char** entry = environ; *entry != nullptr; ++entry) {
        if (!is_replaced(*entry)) {
            result.emplace_back(*entry);
        }
    }
    result.insert(result.end(), assignments.begin(), assignments.end());
    return result;
}

std::vector<std::string> sim_command(const board& board, const std::vector<std::string>& options) {
    std::vector<std::string> command =
        sim_words({"--no-build", "--headless", "--board", board.at("/").parent_path(), "--"});
    command.insert(command.end(), options.begin(), options.end());
    return command;
}

pid_t spawn(const std::vector<std::string>& command, const std::vector<std::string>& environment,
            const fs::path& output) {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, output.c_str(),
                                     O_WRONLY | O_CREAT | O_APPEND, 0644);
    posix_spawn_file_actions_adddup2(&actions, STDOUT_FILENO, STDERR_FILENO);
    pid_t process = -1;
    const int result = posix_spawn(&process, command.front().c_str(), &actions, nullptr,
                                   pointers(command).data(), pointers(environment).data());
    posix_spawn_file_actions_destroy(&actions);
    EXPECT_EQ(result, 0) << command.front();
    return result == 0 ? process : -1;
}

int wait_for_exit(pid_t process, std::chrono::milliseconds timeout) {
    const int handle = static_cast<int>(syscall(SYS_pidfd_open, process, 0));
    pollfd ended{handle, POLLIN, 0};
    const bool in_time = poll(&ended, 1, static_cast<int>(timeout.count())) == 1;
    close(handle);
    if (!in_time) {
        kill(process, SIGKILL);
    }
    int status = 0;
    waitpid(process, &status, 0);
    if (!in_time) {
        return -1;
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

// Starts programs and waits for their end.
#include "support/process.h"

#include "support/temp_folder.h"

#include <algorithm>
#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <spawn.h>
#include <string_view>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

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

bool sets_variable_of(const std::string& assignment, std::string_view entry) {
    return entry.starts_with(assignment.substr(0, assignment.find('=') + 1));
}

} // namespace

std::vector<std::string> environment_with(const std::vector<std::string>& assignments) {
    std::vector<std::string> result;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        const bool replaced =
            std::ranges::any_of(assignments, [entry](const std::string& assignment) {
                return sets_variable_of(assignment, *entry);
            });
        if (!replaced) {
            result.emplace_back(*entry);
        }
    }
    result.insert(result.end(), assignments.begin(), assignments.end());
    return result;
}

pid_t spawn(const std::vector<std::string>& command, const std::vector<std::string>& environment,
            const std::filesystem::path& output) {
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

bool has_ended(pid_t process, std::chrono::milliseconds timeout) {
    const auto handle = static_cast<int>(syscall(SYS_pidfd_open, process, 0));
    if (handle < 0) {
        return true;
    }
    pollfd ended{handle, POLLIN, 0};
    const bool in_time = poll(&ended, 1, static_cast<int>(timeout.count())) == 1;
    close(handle);
    return in_time;
}

int wait_for_exit(pid_t child, std::chrono::milliseconds timeout) {
    const bool in_time = has_ended(child, timeout);
    if (!in_time) {
        kill(child, SIGKILL);
    }
    int status = 0;
    waitpid(child, &status, 0);
    if (!in_time) {
        return -1;
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

outcome run(const std::vector<std::string>& command, const std::vector<std::string>& assignments) {
    const temp_folder folder;
    const std::filesystem::path output = folder.path() / "output";
    const pid_t pid = spawn(command, environment_with(assignments), output);
    const int status = wait_for_exit(pid, WAIT_LIMIT);
    return {status, read_text(output), pid};
}

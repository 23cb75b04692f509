// Starts programs and waits for their end.
#pragma once

#include <chrono>
#include <filesystem>
#include <string>
#include <sys/types.h>
#include <vector>

// Time limit for anything that a test waits for on a loaded machine.
inline constexpr std::chrono::seconds WAIT_LIMIT{30};

// This process's environment with additional "NAME=value" texts.
std::vector<std::string> environment_with(const std::vector<std::string>& assignments);

// Starts a program and returns its process id. Standard output and error are appended to the file.
pid_t spawn(const std::vector<std::string>& command, const std::vector<std::string>& environment,
            const std::filesystem::path& output);

// True if the process, a child or not, has ended within the timeout.
bool has_ended(pid_t process, std::chrono::milliseconds timeout);

// Waits for a child to end. Returns its exit status, or 128 + signal; on timeout kills the child
// and returns -1.
int wait_for_exit(pid_t child, std::chrono::milliseconds timeout);

struct outcome {
    int status;         // as wait_for_exit returns it
    std::string output; // standard output and error
    pid_t pid;
};

// Runs a program to its end, with these "NAME=value" texts in its environment.
outcome run(const std::vector<std::string>& command,
            const std::vector<std::string>& assignments = {});

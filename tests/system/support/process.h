// Starting programs and waiting for their end.
#pragma once

#include <chrono>
#include <filesystem>
#include <string>
#include <sys/types.h>
#include <vector>

// Time that anything a test waits for may take on a loaded machine.
inline constexpr std::chrono::seconds WAIT_LIMIT{30};

// The environment of this process with some variables set, as "NAME=value" texts.
std::vector<std::string> environment_with(const std::vector<std::string>& assignments);

// Starts a program; its process id. Standard output and error are appended to the file.
pid_t spawn(const std::vector<std::string>& command, const std::vector<std::string>& environment,
            const std::filesystem::path& output);

// True when the process, a child or not, has ended before the time is up.
bool has_ended(pid_t process, std::chrono::milliseconds timeout);

// Waits for a child to end: its exit status, 128 + signal when one ended it; -1 and the child
// killed when it did not end in time.
int wait_for_exit(pid_t child, std::chrono::milliseconds timeout);

struct outcome {
    int status;         // as wait_for_exit tells it
    std::string output; // standard output and error
    pid_t pid;
};

// Runs a program with these words to its end, with these "NAME=value" texts set in its environment.
outcome run(const std::vector<std::string>& command,
            const std::vector<std::string>& assignments = {});

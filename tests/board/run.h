// Running a command to its end and looking at what it said.
#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

struct outcome {
    int status;         // as wait_for_exit tells it
    std::string output; // standard output and error
    pid_t pid;
};

// Runs a program with these words, and with these "NAME=value" texts set in its environment.
outcome run(const std::vector<std::string>& command,
            const std::vector<std::string>& assignments = {});

// The words of one of the front doors, such as "scripts/sim".
std::vector<std::string> front_door(const std::string& name, const std::vector<std::string>& words);

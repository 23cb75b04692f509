// A process's resources, from the kernel.
#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <sys/types.h>

struct resources {
    long descriptors = 0;
    long threads = 0;
    long memory_kb = 0; // private resident memory
};

// Returns the number after a label in a file under /proc; 0 if missing.
inline long proc_figure(const std::filesystem::path& file, const std::string& label) {
    std::ifstream lines{file};
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with(label)) {
            return std::stol(line.substr(label.size()));
        }
    }
    return 0;
}

inline resources resources_of(pid_t process) {
    const std::filesystem::path folder = "/proc/" + std::to_string(process);
    const auto entries = [&](const char* name) {
        return std::distance(std::filesystem::directory_iterator{folder / name},
                             std::filesystem::directory_iterator{});
    };
    return {entries("fd"), entries("task"), proc_figure(folder / "status", "RssAnon:")};
}

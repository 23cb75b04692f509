// What a process holds, as the kernel tells it.
#pragma once

#include <filesystem>
#include <iterator>
#include <string>
#include <sys/types.h>

struct resources {
    long descriptors = 0;
    long threads = 0;
};

inline resources resources_of(pid_t process) {
    const std::filesystem::path folder = "/proc/" + std::to_string(process);
    const auto entries = [&](const char* name) {
        return std::distance(std::filesystem::directory_iterator{folder / name},
                             std::filesystem::directory_iterator{});
    };
    return {entries("fd"), entries("task")};
}

// Planning a failing call in a program that a test starts.
#pragma once

#include "fault/fault_plan.h"

#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

// The plan in that file, which is made; unmapped by the caller.
inline fault_plan* map_plan(const std::filesystem::path& file) {
    const int fd = open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    EXPECT_EQ(ftruncate(fd, sizeof(fault_plan)), 0);
    void* const memory =
        mmap(nullptr, sizeof(fault_plan), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    close(fd);
    return static_cast<fault_plan*>(memory);
}

// Has the call of that number from now on fail with that error, and the counts begin at 0.
inline void plan_failure(fault_plan& plan, failing_call call, int number, int error) {
    for (auto& each : plan.made) {
        each = 0;
    }
    plan.failed_from = 0;
    plan.number = number;
    plan.error = error;
    plan.call = call;
}

// What a program needs in its environment to fail as planned there.
inline std::vector<std::string> failing_environment(const std::filesystem::path& plan_file) {
    return {std::string{"LD_PRELOAD="} + VTRDC_FAILING_CALLS,
            std::string{FAULT_PLAN_VARIABLE} + "=" + plan_file.string(),
            // Its runtime need not be first: our library forwards all calls.
            "ASAN_OPTIONS=detect_leaks=0:exitcode=99:verify_asan_link_order=0"};
}

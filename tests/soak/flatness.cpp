// Checks that a process's resources don't grow over a long run.
#include "flatness.h"

#include "support/resources.h"

#include <algorithm>
#include <fstream>
#include <gtest/gtest.h>
#include <iostream>

namespace {

// Idle threads of GLib's pool, which keeps some for a while.
constexpr long SPARE_THREADS = 8;
#ifdef __SANITIZE_ADDRESS__
// The sanitizer delays the release of memory.
constexpr bool MEMORY_COUNTS = false;
#else
constexpr bool MEMORY_COUNTS = true;
#endif
// Raw pictures in flight take three megabytes each, and fragment memory.
constexpr long SPARE_MEMORY_KB = 12 * 1024;
constexpr int LOOKS = 5;
// Relative to the initial use.
constexpr long SPARE_MEMORY_PART = 20;

// Private memory; shared memory depends on other processes.
long memory_kb(pid_t process) {
    std::ifstream file{"/proc/" + std::to_string(process) + "/smaps_rollup"};
    for (std::string word; file >> word;) {
        if (word == "Anonymous:") {
            long kilobytes = 0;
            file >> kilobytes;
            return kilobytes;
        }
    }
    ADD_FAILURE() << "no memory figures of process " << process;
    return 0;
}

} // namespace

std::vector<std::string> flatness::environment() {
    return {"MALLOC_ARENA_MAX=1", "MALLOC_MMAP_THRESHOLD_=65536", "MALLOC_TRIM_THRESHOLD_=65536"};
}

void flatness::look_at(pid_t process, const std::function<void()>& let_pictures_pass) {
    long least_kb = memory_kb(process);
    for (int look = 1; look < LOOKS; ++look) {
        let_pictures_pass();
        least_kb = std::min(least_kb, memory_kb(process));
    }
    const resources held = resources_of(process);
    samples_.push_back({held.descriptors, held.threads, least_kb});
    std::cout << "held: " << held.descriptors << " descriptors, " << held.threads << " threads, "
              << samples_.back().memory_kb << " KB" << std::endl;
}

void flatness::expect_flat(std::optional<long> spare_memory_kb) const {
    const auto median = [this](bool last, long sample::*field) {
        const std::size_t quarter = std::max<std::size_t>(samples_.size() / 4, 1);
        const std::size_t begin = last ? samples_.size() - quarter : 0;
        std::vector<long> values;
        for (std::size_t i = begin; i < begin + quarter; ++i) {
            values.push_back(samples_[i].*field);
        }
        std::ranges::nth_element(values,
                                 values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2));
        return values[values.size() / 2];
    };
    ASSERT_GE(samples_.size(), 2U);
    EXPECT_LE(median(true, &sample::descriptors), median(false, &sample::descriptors));
    EXPECT_LE(median(true, &sample::threads), median(false, &sample::threads) + SPARE_THREADS);
    if (MEMORY_COUNTS) {
        const long first = median(false, &sample::memory_kb);
        const long spare = std::max(SPARE_MEMORY_KB, first / SPARE_MEMORY_PART);
        EXPECT_LE(median(true, &sample::memory_kb), first + spare_memory_kb.value_or(spare));
    }
}

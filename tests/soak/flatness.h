// Checks that a process's resources don't grow over a long run.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

class flatness {
public:
    // For the measured process: makes freed memory go back to the system at once. Otherwise
    // allocator arenas fill up for some minutes as threads come and go, which hides leaks.
    static std::vector<std::string> environment();

    // Measures an idle process several times, with some pictures in between: memory of pictures in
    // flight varies.
    void look_at(pid_t process, const std::function<void()>& let_pictures_pass);

    // Compares the medians of the first and last quarter: a test failure if the growth exceeds the
    // tolerances; the memory's can be given.
    void expect_flat(std::optional<long> spare_memory_kb = std::nullopt) const;

private:
    struct sample {
        long descriptors;
        long threads;
        long memory_kb;
    };
    std::vector<sample> samples_;
};

// Whether what a process holds stays the same over a long run.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

class flatness {
public:
    // For the process that is looked at: what it frees goes back to the system at once. Else the
    // figures show how the allocator's arenas fill up for some minutes, as threads come and go, and
    // no leak could be told from that.
    static std::vector<std::string> environment();

    // Looks at a process that is at rest, several times with some pictures in between: what they
    // take while they are on their way comes and goes.
    void look_at(pid_t process, const std::function<void()>& let_pictures_pass);

    // Compares the medians of the first and the last quarter: a test failure where more is held at
    // the end than the tolerances allow; that of memory may be given.
    void expect_flat(std::optional<long> spare_memory_kb = std::nullopt) const;

private:
    struct sample {
        long descriptors;
        long threads;
        long memory_kb;
    };
    std::vector<sample> samples_;
};

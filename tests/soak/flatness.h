// Whether what a process holds stays the same over a long run.
#pragma once

#include <sys/types.h>
#include <vector>

class flatness {
public:
    // Looks at a process that is at rest.
    void look_at(pid_t process);

    // Compares the medians of the first and the last quarter: a test failure where more is held at
    // the end than the tolerances allow.
    void expect_flat() const;

private:
    struct sample {
        long descriptors;
        long threads;
        long memory_kb;
    };
    std::vector<sample> samples_;
};

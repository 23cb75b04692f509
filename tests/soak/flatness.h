// Whether what a process holds stays the same over a long run.
#pragma once

#include <functional>
#include <sys/types.h>
#include <vector>

class flatness {
public:
    // Looks at a process that is at rest, several times with some pictures in between: what they
    // take while they are on their way comes and goes.
    void look_at(pid_t process, const std::function<void()>& let_pictures_pass);

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

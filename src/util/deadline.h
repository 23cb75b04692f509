// A moment by which something must be done.
#pragma once

#include <algorithm>
#include <chrono>

class deadline {
public:
    explicit deadline(std::chrono::milliseconds time) : end_{clock::now() + time} {}

    // Time left; 0 when it has passed.
    [[nodiscard]] std::chrono::milliseconds left() const {
        using std::chrono::milliseconds;
        return std::max(std::chrono::ceil<milliseconds>(end_ - clock::now()), milliseconds{0});
    }
    [[nodiscard]] bool has_passed() const { return left().count() == 0; }

private:
    using clock = std::chrono::steady_clock;
    clock::time_point end_;
};

// Reproducible random numbers: the same seed gives the same results on every machine.
#pragma once

#include <cstdint>
#include <random>
#include <span>
#include <string>
#include <string_view>

class dice {
public:
    explicit dice(std::uint64_t seed) : engine_{seed} {}

    // From low to high, inclusive. Not by the library's distributions, whose results are
    // unspecified.
    int number(int low, int high) {
        const auto count = static_cast<std::uint64_t>(std::int64_t{high} - low + 1);
        return static_cast<int>(low + static_cast<std::int64_t>(engine_() % count));
    }
    bool chance(int percent) { return number(1, 100) <= percent; }
    template <class Items> const auto& pick(const Items& items) {
        const auto count = static_cast<int>(std::size(items));
        return std::data(items)[static_cast<std::size_t>(number(0, count - 1))];
    }
    // Random bytes except the given one.
    std::string bytes(std::size_t count, char without) {
        std::string text(count, '\0');
        for (char& each : text) {
            each = static_cast<char>(number(0, 255));
            each = each == without ? '.' : each;
        }
        return text;
    }

private:
    std::mt19937_64 engine_;
};

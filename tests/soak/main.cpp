// Random use of the daemon for a given time, and its intended ends. Prints the seed, which repeats
// a run.
#include "exits.h"
#include "life.h"
#include "stops.h"

#include <cstdlib>
#include <functional>
#include <gtest/gtest.h>
#include <iostream>
#include <random>
#include <utility>

namespace {

constexpr int PERIODS_SHORT = 6;
constexpr int PERIODS_LONG = 40;

std::chrono::minutes duration{0};
bool is_one_life = false;
std::uint64_t first_seed = 0;
int stops = 3;

// `lived` says which part of the life is over; at 1 it ends.
void live(std::uint64_t life_seed, const std::function<double(int period)>& lived) {
    std::cout << "life with --seed " << life_seed << std::endl;
    life daemon_life{life_seed};
    bool is_handed_over = false;
    for (int period = 0; lived(period) < 1 && !testing::Test::HasFailure(); ++period) {
        if (lived(period) >= 0.75 && !std::exchange(is_handed_over, true)) {
            daemon_life.hand_over();
        }
        daemon_life.spend_period(period % 2 == 0);
        // Stop after a failure: later output would hide it.
        if (!testing::Test::HasFailure()) {
            daemon_life.come_to_rest();
        }
    }
    if (testing::Test::HasFailure()) {
        return;
    }
    daemon_life.spend_period(false);
    daemon_life.stop();
    daemon_life.expect_flat();
}

void live_periods(std::uint64_t life_seed, int periods) {
    live(life_seed, [periods](int period) { return static_cast<double>(period) / periods; });
}

void live_once(std::chrono::steady_clock::time_point start) {
    live(first_seed, [start](int /*period*/) {
        const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - start;
        return passed / std::chrono::duration<double>{duration};
    });
}

TEST(Soak, RandomUse) {
    const auto start = std::chrono::steady_clock::now();
    if (is_one_life) {
        live_once(start);
        return;
    }
    std::uint64_t next_seed = first_seed;
    do {
        live_periods(next_seed++, duration.count() > 0 ? PERIODS_LONG : PERIODS_SHORT);
    } while (std::chrono::steady_clock::now() < start + duration && !testing::Test::HasFailure());
}

TEST(Soak, EndsByDesign) {
    // All of them take longer than a short run.
    const bool all = duration.count() > 0;
    expect_ends_by_design(first_seed, all);
}

TEST(Soak, StopsWhileRecording) {
    std::cout << stops << " stops with --seed " << first_seed << std::endl;
    expect_stops_to_lose_nothing(first_seed, stops);
}

[[noreturn]] void usage(const char* name) {
    std::cerr << "Usage: " << name
              << " [MINUTES | --stops N] [--seed N]\n  without minutes, a short run of one life; "
                 "with --stops nothing but that many stops\n";
    std::exit(2);
}

long number_of(const char* name, const char* text) {
    char* rest = nullptr;
    const long number = std::strtol(text, &rest, 10);
    if (*text == '\0' || *rest != '\0' || number < 0) {
        usage(name);
    }
    return number;
}

} // namespace

int main(int argc, char* argv[]) {
    testing::InitGoogleTest(&argc, argv);
    first_seed = std::random_device{}() % 1'000'000;
    for (int i = 1; i < argc; ++i) {
        if (std::string_view{argv[i]} == "--seed" && i + 1 < argc) {
            first_seed = static_cast<std::uint64_t>(number_of(argv[0], argv[++i]));
        } else if (std::string_view{argv[i]} == "--stops" && i + 1 < argc) {
            stops = static_cast<int>(number_of(argv[0], argv[++i]));
            testing::GTEST_FLAG(filter) = "*.StopsWhileRecording";
        } else if (std::string_view{argv[i]} == "--one-life") {
            is_one_life = true;
            testing::GTEST_FLAG(filter) = "*.RandomUse";
        } else {
            duration = std::chrono::minutes{number_of(argv[0], argv[i])};
        }
    }
    return RUN_ALL_TESTS();
}

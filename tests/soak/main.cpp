// Random use of the daemon for as long as one likes: lives with everything at once, and the ends
// that are by design. The seed is printed; the same seed does the same again.
#include "exits.h"
#include "life.h"
#include "stops.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <iostream>
#include <random>

namespace {

constexpr int PERIODS_SHORT = 6;
constexpr int PERIODS_LONG = 40;

std::chrono::minutes duration{0};
std::uint64_t seed = 0;
int stops = 3;

void live(std::uint64_t life_seed, int periods) {
    std::cout << "life with --seed " << life_seed << std::endl;
    life daemon_life{life_seed};
    for (int period = 0; period < periods && !testing::Test::HasFailure(); ++period) {
        if (period == periods * 3 / 4) {
            daemon_life.hand_over();
        }
        daemon_life.spend_period(period % 2 == 0);
        // Where something went wrong, what follows would only hide it.
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

TEST(Soak, LivesOfRandomUse) {
    const auto end = std::chrono::steady_clock::now() + duration;
    std::uint64_t next_seed = seed;
    do {
        live(next_seed++, duration.count() > 0 ? PERIODS_LONG : PERIODS_SHORT);
    } while (std::chrono::steady_clock::now() < end && !testing::Test::HasFailure());
}

TEST(Soak, EndsByDesign) {
    // All of them take longer than a short run has.
    const bool all = duration.count() > 0;
    expect_ends_by_design(seed, all);
}

TEST(Soak, StopsWhileRecording) {
    std::cout << stops << " stops with --seed " << seed << std::endl;
    expect_stops_to_lose_nothing(seed, stops);
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
    seed = std::random_device{}() % 1'000'000;
    for (int i = 1; i < argc; ++i) {
        if (std::string_view{argv[i]} == "--seed" && i + 1 < argc) {
            seed = static_cast<std::uint64_t>(number_of(argv[0], argv[++i]));
        } else if (std::string_view{argv[i]} == "--stops" && i + 1 < argc) {
            stops = static_cast<int>(number_of(argv[0], argv[++i]));
            testing::GTEST_FLAG(filter) = "*.StopsWhileRecording";
        } else {
            duration = std::chrono::minutes{number_of(argv[0], argv[i])};
        }
    }
    return RUN_ALL_TESTS();
}

// Runs vtrdc-recover on a test's folder.
#pragma once

#include "support/process.h"
#include "support/temp_folder.h"

#include <string>

// Runs it with these arguments to its end.
inline outcome recover(std::vector<std::string> words) {
    words.insert(words.begin(), VTRDC_RECOVER);
    return run(words);
}

// How many times a test tries: few by default, all with --all.
struct extent {
    int damages = 42;
    int kills = 10;
    bool all_calls = false;
    // From one failing call to the next.
    [[nodiscard]] int call_step(int number) const { return all_calls ? 1 : 1 + number / 2; }
};
inline extent& test_extent() {
    static extent value;
    return value;
}

// What the fuzzers share.
#pragma once

#include "core/log.h"

#include <cstddef>
#include <cstdint>
#include <string>

// Called by libFuzzer with one input after another; 0 always.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

// Ends the fuzzer with a report on the input when something does not hold.
inline void require(bool holds) {
    if (!holds) {
        __builtin_trap();
    }
}

// The input as a text that may be taken apart: up to its first zero byte, as it comes from a
// client.
inline std::string input_text(const std::uint8_t* data, std::size_t size) {
    return std::string(reinterpret_cast<const char*>(data), size).c_str();
}

// Log lines are formatted, but seen nowhere.
inline void hush_log() {
    static const bool hushed = [] {
        log_open("/dev/null");
        log_verbose = 1;
        return true;
    }();
    static_cast<void>(hushed);
}

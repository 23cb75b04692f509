// Shared parts of the fuzzers.
#pragma once

#include "core/log.h"

#include <cstddef>
#include <cstdint>
#include <string>

// Called by libFuzzer for each input; always returns 0.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

// Aborts with a report on the input if the condition is false.
inline void require(bool holds) {
    if (!holds) {
        __builtin_trap();
    }
}

// The input as modifiable text, up to its first NUL, as received from a client.
inline std::string input_text(const std::uint8_t* data, std::size_t size) {
    return std::string(reinterpret_cast<const char*>(data), size).c_str();
}

// Formats log lines but discards them.
inline void hush_log() {
    static const bool hushed = [] {
        log_open("/dev/null");
        log_verbose = 1;
        return true;
    }();
    static_cast<void>(hushed);
}

// The last failure of each kind, published in the status file.
#pragma once

#include "core/imem.h"

#include <array>
#include <cstddef>
#include <ctime>
#include <span>

enum class failure_kind : std::size_t { tool, storage, camera, http, settings, count };

inline constexpr std::array<const char*, static_cast<std::size_t>(failure_kind::count)>
    failure_names{"tool", "storage", "camera", "http", "settings"};

struct failure {
    std::time_t when = 0; // 0: no such failure since the start
    malloc_text text;     // as in the log
};

// Writes a WARN line and keeps its text as the last failure of the kind.
[[gnu::format(printf, 2, 3)]] void log_failure(failure_kind kind, const char* format, ...);

// Returns one entry per kind, in the enumeration's order.
[[nodiscard]] std::span<const failure> last_failures();

// Changes whenever an entry changes. Repeated failures within a second count as one.
[[nodiscard]] unsigned int failures_revision();

// The last failure of each kind, which the daemon's status tells to clients.
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
    std::time_t when = 0; // 0: none of the kind since the start
    malloc_text text;     // as in the log
};

// Writes a WARN line and keeps its text as the last failure of the kind.
[[gnu::format(printf, 2, 3)]] void log_failure(failure_kind kind, const char* format, ...);

// One entry a kind, in the enumeration's order.
[[nodiscard]] std::span<const failure> last_failures();

// Differs from an earlier result once an entry has changed. The same failure twice in a second is
// one.
[[nodiscard]] unsigned int failures_revision();

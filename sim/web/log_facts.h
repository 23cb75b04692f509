// What the daemon's log tells of the sight that no command does: which outputs run, and whether the
// camera's picture is shown.
#pragma once

#include <optional>
#include <string_view>

namespace sim {

struct log_facts {
    bool recording = false;
    bool tcp_stream = false;
    bool http_stream = false;
    bool camera_shown = false;

    bool operator==(const log_facts&) const = default;
};

// Takes a line in. A daemon's first line forgets what was known of the one before.
void take_line(std::optional<log_facts>& facts, std::string_view line);

} // namespace sim

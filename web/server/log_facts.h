// What the daemon's log tells of the sight that no command does: which outputs run, whether the
// camera's picture is shown, and what came of a hand-over to an outside controller.
#pragma once

#include <optional>
#include <string_view>

namespace web {

struct log_facts {
    bool recording = false;
    bool tcp_stream = false;
    bool http_stream = false;
    bool camera_shown = false;
    bool handed_over = false;
    bool broker_connected = false;
    unsigned push_failures = 0; // failed attempts of the HTTP push to reach its server

    bool operator==(const log_facts&) const = default;
};

// Takes a line in. A daemon's first line drops the facts of the one before.
void take_line(std::optional<log_facts>& facts, std::string_view line);

} // namespace web

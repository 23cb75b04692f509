// What the daemon's log tells of the sight that no command does.
#include "log_facts.h"

#include <array>

namespace web {
namespace {

struct reaction {
    std::string_view message; // its beginning
    bool log_facts::*fact;
    bool value;
};

// Pipes have the numbers of the commands for single pipes. An output that is ended by force logs
// the same as one that ends by itself.
constexpr std::array reactions = std::to_array<reaction>({
    {"Creating record branch", &log_facts::recording, true},
    {"Got EoS event on pipe 5", &log_facts::recording, false},
    {"Creating stream pipeline", &log_facts::tcp_stream, true},
    {"Got EoS event on pipe 4", &log_facts::tcp_stream, false},
    {"Creating http stream pipeline", &log_facts::http_stream, true},
    {"Got EoS event on pipe 7", &log_facts::http_stream, false},
    {"Source Pipeline set to playing", &log_facts::camera_shown, true},
    {"Got EoS event on pipe 0", &log_facts::camera_shown, false},
    // The daemon looks for the broker when the sight is handed over, and at no other time.
    {"Connected to redis", &log_facts::handed_over, true},
    {"Connected to redis", &log_facts::broker_connected, true},
    {"Redis connect error", &log_facts::handed_over, true},
});

constexpr std::string_view FIRST_MESSAGE = "ver:";

bool is_push_failure(std::string_view message) {
    return message.starts_with("from element ") &&
           message.find("http-sink") != std::string_view::npos;
}

// What follows "[LEVEL]: "; empty when the line is not the daemon's own.
std::string_view message_of(std::string_view line) {
    const std::size_t end = line.find("]: ");
    return end == std::string_view::npos ? std::string_view{} : line.substr(end + 3);
}

} // namespace

void take_line(std::optional<log_facts>& facts, std::string_view line) {
    const std::string_view message = message_of(line);
    if (message.starts_with(FIRST_MESSAGE)) {
        facts = log_facts{};
    }
    if (!facts) {
        return;
    }
    for (const reaction& each : reactions) {
        if (message.starts_with(each.message)) {
            (*facts).*each.fact = each.value;
        }
    }
    facts->push_failures += is_push_failure(message) ? 1 : 0;
}

} // namespace web

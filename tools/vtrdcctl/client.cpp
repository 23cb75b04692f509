// Running commands: asking the daemon, and writing its answers.
#include "vtrdcctl/client.h"

#include "vtrdcctl/answers.h"
#include "vtrdcctl/wording.h"

#include <algorithm>
#include <iostream>
#include <thread>

using std::chrono::steady_clock;

namespace {

// The daemon tells nobody when an output has ended, so there is nothing else to wait for.
constexpr std::chrono::milliseconds RETRY_INTERVAL{100};

} // namespace

exit_status client::run(const client_command& command, std::span<const std::string> arguments,
                        std::string_view place) {
    const reply answer = ask(request_for(command, arguments));
    if (answer.is_done) {
        write_answer(options_.is_json, command, answer);
    } else {
        const std::string reason =
            answer.has_data ? answer.data : refusal_reason(command, arguments);
        write_failure(options_.is_json, {STATUS_REFUSED, command.name, reason, place});
    }
    // Clients that feed commands one by one wait for the answer.
    std::cout.flush();
    return answer.is_done ? STATUS_DONE : STATUS_REFUSED;
}

reply client::ask(std::string_view request) {
    if (!connection_) {
        connection_.emplace(options_.socket_path, options_.timeout);
    }
    reply answer = connection_->ask(request);
    const steady_clock::time_point end = steady_clock::now() + options_.retry;
    for (auto now = steady_clock::now(); !answer.is_done && now < end; now = steady_clock::now()) {
        std::this_thread::sleep_until(std::min(now + RETRY_INTERVAL, end));
        answer = connection_->ask(request);
    }
    return answer;
}

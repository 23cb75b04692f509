// Runs commands: sends requests and prints the answers.
#include "vtrdcctl/client.h"

#include "vtrdcctl/answers.h"
#include "vtrdcctl/exit_status.h"
#include "vtrdcctl/status_file.h"
#include "vtrdcctl/wording.h"

#include <algorithm>
#include <iostream>
#include <thread>

using std::chrono::milliseconds;
using std::chrono::steady_clock;

namespace {

// The obstacle may be anything, so polling is the only way.
constexpr milliseconds RETRY_INTERVAL{100};
constexpr milliseconds LOOK_INTERVAL{1000};

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
    // Clients that feed commands one by one wait for each answer.
    std::cout.flush();
    return answer.is_done ? STATUS_DONE : STATUS_REFUSED;
}

// A daemon writes its status file once it answers. Polls for one that can't write it.
void client::connect_in_time(steady_clock::time_point end) {
    status_file status{options_.status_path};
    for (;;) {
        const steady_clock::time_point now = steady_clock::now();
        try {
            const auto left = std::chrono::ceil<milliseconds>(end - now);
            connection_.emplace(options_.socket_path, std::max(options_.timeout, left));
            return;
        } catch (const no_daemon&) {
            if (now >= end) {
                throw;
            }
        }
        static_cast<void>(status.wait(std::min(end, now + LOOK_INTERVAL)));
    }
}

reply client::ask(std::string_view request) {
    if (!connection_) {
        connect_in_time(steady_clock::now() + options_.wait);
    }
    reply answer = connection_->ask(request);
    const steady_clock::time_point end = steady_clock::now() + options_.retry;
    for (auto now = steady_clock::now(); !answer.is_done && now < end; now = steady_clock::now()) {
        std::this_thread::sleep_until(std::min(now + RETRY_INTERVAL, end));
        answer = connection_->ask(request);
    }
    return answer;
}

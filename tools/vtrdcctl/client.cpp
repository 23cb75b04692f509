// Running commands: asking the daemon, and writing its answers.
#include "vtrdcctl/client.h"

#include <algorithm>
#include <iostream>
#include <nlohmann/json.hpp>
#include <thread>

using std::chrono::steady_clock;

namespace {

// The daemon tells nobody when an output has ended, so there is nothing else to wait for.
constexpr std::chrono::milliseconds RETRY_INTERVAL{100};

void print_json(const client_command& command, const reply& answer) {
    using nlohmann::ordered_json;
    ordered_json object;
    object["command"] = command.name;
    object["ok"] = answer.is_done;
    object["answer"] = answer.has_data ? ordered_json(answer.data) : ordered_json(nullptr);
    // Settings may hold any bytes, and JSON only UTF-8.
    std::cout << object.dump(-1, ' ', false, ordered_json::error_handler_t::replace) << '\n';
}

void print_plain(const reply& answer, std::string_view subject) {
    if (!answer.is_done) {
        complain(subject, answer.has_data ? answer.data : NO_REASON);
    } else if (answer.has_data) {
        std::cout << answer.data << (answer.data.ends_with('\n') ? "" : "\n");
    }
}

} // namespace

void complain(std::string_view subject, std::string_view problem) {
    std::cerr << "vtrdcctl: " << subject << ": " << problem << '\n';
}

exit_status client::run(const client_command& command, std::span<const std::string> arguments,
                        std::string_view subject) {
    const reply answer = ask(request_for(command, arguments));
    if (options_.is_json) {
        print_json(command, answer);
    } else {
        print_plain(answer, subject);
    }
    // Whoever feeds commands one by one waits for the answer.
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

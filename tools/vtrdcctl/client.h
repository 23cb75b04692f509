// Runs commands: sends requests and prints the answers.
#pragma once

#include "config/settings.h"
#include "core/status.h"
#include "vtrdcctl/connection.h"
#include "vtrdcctl/exit_status.h"
#include "vtrdcctl/requests.h"

#include <chrono>
#include <optional>
#include <span>
#include <string>
#include <string_view>

struct client_options {
    std::string socket_path = settings{}.socket_file;
    std::string status_path = STATUS_FILE;
    std::chrono::milliseconds wait{0}; // time to wait for a daemon
    std::chrono::milliseconds timeout{5000};
    std::chrono::milliseconds retry{0}; // time to retry while replies are errors
    bool is_json = false;
};

class client {
public:
    // Doesn't connect before the first command.
    explicit client(client_options options) : options_{std::move(options)} {}

    [[nodiscard]] bool is_json() const { return options_.is_json; }

    // Runs a command and prints the answer or the error; `place` is its line in a script. Throws
    // what request_for and connection throw.
    [[nodiscard]] exit_status run(const client_command& command,
                                  std::span<const std::string> arguments,
                                  std::string_view place = {});

private:
    void connect_in_time(std::chrono::steady_clock::time_point end);
    [[nodiscard]] reply ask(std::string_view request);

    client_options options_;
    std::optional<connection> connection_;
};

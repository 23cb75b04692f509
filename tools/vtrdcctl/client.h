// Running commands: asking the daemon, and writing its answers.
#pragma once

#include "config/settings.h"
#include "vtrdcctl/connection.h"
#include "vtrdcctl/requests.h"
#include "vtrdcctl/status.h"

#include <chrono>
#include <optional>
#include <span>
#include <string>
#include <string_view>

struct client_options {
    std::string socket_path = settings{}.socket_file;
    std::chrono::milliseconds timeout{5000};
    std::chrono::milliseconds retry{0}; // how long to ask again while the reply is an error
    bool is_json = false;
};

// Writes a line about a failure to standard error.
void complain(std::string_view subject, std::string_view problem);

class client {
public:
    // Connects with the first command.
    explicit client(client_options options) : options_{std::move(options)} {}

    // Runs a command and writes the answer to standard output. The plain text of an error reply
    // goes to standard error, with the subject before it. Fails as request_for and connection do.
    [[nodiscard]] exit_status run(const client_command& command,
                                  std::span<const std::string> arguments, std::string_view subject);

private:
    [[nodiscard]] reply ask(std::string_view request);

    client_options options_;
    std::optional<connection> connection_;
};

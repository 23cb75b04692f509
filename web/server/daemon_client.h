// Client of the daemon's command socket. Sends one request at a time without blocking the main
// loop; reconnects when the daemon returns.
#pragma once

#include "loop.h"
#include "util/fd_owned.h"

#include "vtrdcctl/connection.h"

#include <chrono>
#include <deque>
#include <functional>
#include <string>

namespace web {

enum class daemon_presence {
    gone,   // nobody listens on the socket
    silent, // no reply for `REPLY_TIMEOUT`
    up
};

// Longer than any successful command, such as starting an output or running the thermal core's
// tool.
inline constexpr std::chrono::seconds REPLY_TIMEOUT{3};

class daemon_client {
public:
    // Gets the daemon's reply, or, with is_done false, the reason why there is none.
    using answer = std::function<void(const reply&)>;

    daemon_client(std::string socket_path, std::function<void()> on_presence);
    daemon_client(const daemon_client&) = delete;
    daemon_client& operator=(const daemon_client&) = delete;

    // Connects, retrying until there is a daemon.
    void open();
    // Disconnects until reopened. Pending requests fail.
    void shut();

    void ask(std::string text, answer on_answer);
    [[nodiscard]] daemon_presence presence() const { return presence_; }

private:
    struct request {
        std::string text;
        answer on_answer;
    };

    void connect_or_retry();
    void send_next();
    void receive();
    void lose(const std::string& why);
    void change_presence(daemon_presence presence);

    const std::string socket_path_;
    const std::function<void()> on_presence_;
    daemon_presence presence_ = daemon_presence::gone;
    fd_owned socket_;
    bool is_open_ = false;
    bool is_asking_ = false; // the first request of the queue was sent
    std::deque<request> queue_;
    descriptor_watch readable_;
    timer retry_;
    timer reply_timeout_;
};

} // namespace web

// The connection to the daemon's command socket: requests are asked one after the other, and the
// main loop goes on meanwhile. It comes back by itself when a daemon does.
#pragma once

#include "loop.h"

#include "vtrdcctl/connection.h"

#include <chrono>
#include <deque>
#include <functional>
#include <string>

namespace web {

enum class daemon_presence {
    gone,   // nobody listens at the socket
    silent, // a request has had no reply for `daemon_patience`
    up
};

// Longer than any command takes that succeeds: an output that starts, a core that moves.
inline constexpr std::chrono::seconds daemon_patience{3};

class daemon_link {
public:
    // What came of a request: a reply, or, with is_done false, the link's own words on why not.
    using answer = std::function<void(const reply&)>;

    daemon_link(std::string socket_path, std::function<void()> on_presence);
    daemon_link(const daemon_link&) = delete;
    daemon_link& operator=(const daemon_link&) = delete;
    ~daemon_link();

    // Looks for a daemon until there is one, from now on.
    void open();
    // Leaves the daemon's place to others, until opened again. Requests end unanswered.
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
    void close_descriptor();

    const std::string socket_path_;
    const std::function<void()> on_presence_;
    daemon_presence presence_ = daemon_presence::gone;
    int descriptor_ = -1;
    bool is_open_ = false;
    bool is_asking_ = false; // the first of the queue is on its way
    std::deque<request> queue_;
    descriptor_watch readable_;
    timer retry_;
    timer patience_;
};

} // namespace web

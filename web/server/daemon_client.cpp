// The connection to the daemon's command socket.
#include "daemon_client.h"

#include "vtrdcctl/exit_status.h"

#include <array>
#include <cerrno>
#include <sys/socket.h>
#include <utility>

namespace web {
namespace {

constexpr std::chrono::milliseconds RETRY_INTERVAL{500};

// Connecting to a local socket succeeds or fails at once.
fd_owned connect_to(const std::string& path) {
    fd_owned made(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    return made && connect_socket(made.get(), path) ? std::move(made) : fd_owned{};
}

reply failure(const std::string& why) {
    return {.is_done = false, .has_data = true, .data = why};
}

} // namespace

daemon_client::daemon_client(std::string socket_path, std::function<void()> on_presence)
    : socket_path_(std::move(socket_path)), on_presence_(std::move(on_presence)) {}

void daemon_client::open() {
    if (!std::exchange(is_open_, true)) {
        connect_or_retry();
    }
}

void daemon_client::shut() {
    is_open_ = false;
    retry_.stop();
    lose("the page was closed");
}

void daemon_client::connect_or_retry() {
    socket_ = connect_to(socket_path_);
    if (!socket_) {
        retry_.once(RETRY_INTERVAL, [this] { connect_or_retry(); });
        return;
    }
    readable_.start(socket_.get(), G_IO_IN, [this] { receive(); });
    change_presence(daemon_presence::up);
}

void daemon_client::ask(std::string text, answer on_answer) {
    if (!socket_) {
        on_answer(failure("the daemon is not running"));
        return;
    }
    queue_.push_back({std::move(text), std::move(on_answer)});
    send_next();
}

void daemon_client::send_next() {
    if (is_asking_ || queue_.empty()) {
        return;
    }
    const std::string& text = queue_.front().text;
    // A short request into an empty socket buffer is sent completely or not at all.
    if (send(socket_.get(), text.data(), text.size(), MSG_NOSIGNAL) < 0) {
        lose("the daemon accepts no request");
        return;
    }
    is_asking_ = true;
    reply_timeout_.once(REPLY_TIMEOUT, [this] { change_presence(daemon_presence::silent); });
}

void daemon_client::receive() {
    std::array<char, REPLY_SIZE> text; // filled by recv below
    const ssize_t length = recv(socket_.get(), text.data(), text.size(), 0);
    if (length < 0 && (errno == EAGAIN || errno == EINTR)) {
        return;
    }
    if (length <= 0) {
        lose("the daemon has ended");
        return;
    }
    if (!is_asking_) {
        return; // no request is pending
    }
    is_asking_ = false;
    reply_timeout_.stop();
    const request answered = std::move(queue_.front());
    queue_.pop_front();
    change_presence(daemon_presence::up);
    try {
        answered.on_answer(decode_reply({text.data(), static_cast<std::size_t>(length)}));
    } catch (const no_answer& error) {
        answered.on_answer(failure(error.what()));
    }
    send_next();
}

void daemon_client::lose(const std::string& why) {
    readable_.stop();
    socket_.reset();
    reply_timeout_.stop();
    is_asking_ = false;
    if (is_open_) {
        retry_.once(RETRY_INTERVAL, [this] { connect_or_retry(); });
    }
    change_presence(daemon_presence::gone);
    for (const request& each : std::exchange(queue_, {})) {
        each.on_answer(failure(why));
    }
}

void daemon_client::change_presence(daemon_presence presence) {
    if (std::exchange(presence_, presence) != presence) {
        on_presence_();
    }
}

} // namespace web

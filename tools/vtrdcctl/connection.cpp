// A connection to the daemon's command socket.
#include "vtrdcctl/connection.h"

#include "vtrdcctl/exit_status.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

constexpr const char* NOT_A_REPLY = "received something else than a reply of the daemon";

// The reason is errno; EAGAIN is reported as a timeout.
no_answer failed(const std::string& what) {
    const char* const reason = errno == EAGAIN ? "time-out" : std::strerror(errno);
    return no_answer{what + ": " + reason};
}

void limit_waits(int fd, std::chrono::milliseconds timeout) {
    timeout = std::max(timeout, std::chrono::milliseconds{1}); // 0 would mean no limit
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(timeout);
    const std::chrono::microseconds rest = timeout - seconds;
    const timeval limit{.tv_sec = static_cast<time_t>(seconds.count()),
                        .tv_usec = static_cast<suseconds_t>(rest.count())};
    setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
}

// Removes the next field and its colon from the text and returns it.
std::string_view take_field(std::string_view& text) {
    const std::size_t end = text.find(':');
    if (end == std::string_view::npos) {
        throw no_answer{NOT_A_REPLY};
    }
    const std::string_view field = text.substr(0, end);
    text.remove_prefix(end + 1);
    return field;
}

} // namespace

bool connect_socket(int descriptor, const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) {
        errno = ENAMETOOLONG;
        return false;
    }
    path.copy(address.sun_path, path.size());
    return connect(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

reply decode_reply(std::string_view text) {
    const std::string_view type = take_field(text);
    take_field(text);
    const std::string_view data_type = take_field(text);
    if ((type != "r" && type != "e") || (data_type != "s" && data_type != "n")) {
        throw no_answer{NOT_A_REPLY};
    }
    return {.is_done = type == "r", .has_data = data_type == "s", .data = std::string{text}};
}

connection::connection(const std::string& path, std::chrono::milliseconds timeout)
    : fd_{socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)} {
    limit_waits(fd_, timeout);
    if (!connect_socket(fd_, path)) {
        const int reason = errno;
        close(fd_);
        errno = reason;
        const std::string problem = "can't connect to " + path;
        if (reason == ENOENT || reason == ECONNREFUSED) {
            throw no_daemon{problem + ": " + std::strerror(reason)};
        }
        throw failed(problem);
    }
}

connection::~connection() {
    close(fd_);
}

reply connection::ask(std::string_view request) const {
    if (send(fd_, request.data(), request.size(), MSG_NOSIGNAL) < 0) {
        throw failed("can't send the request");
    }
    std::array<char, REPLY_SIZE> text{};
    ssize_t length = -1;
    do { // stopping and continuing this program interrupts poll()
        length = recv(fd_, text.data(), text.size(), 0);
    } while (length < 0 && errno == EINTR);
    if (length < 0) {
        throw failed("no reply");
    }
    if (length == 0) {
        throw no_answer{"no reply: the daemon closed the connection"};
    }
    return decode_reply({text.data(), static_cast<std::size_t>(length)});
}

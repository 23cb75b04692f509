// A connection to the daemon's command socket.
#pragma once

#include <chrono>
#include <cstddef>
#include <string>
#include <string_view>

struct reply {
    bool is_done;  // false for an error reply
    bool has_data; // a reply may have none
    std::string data;
};

// Far more than the longest reply, which is sent at once.
inline constexpr std::size_t REPLY_SIZE = 65536;

// Connects a Unix stream socket to the one that listens at the path. False with errno set.
[[nodiscard]] bool connect_socket(int descriptor, const std::string& path);

// Takes a reply "type:command:data type:data" apart. A no_answer when it is something else.
[[nodiscard]] reply decode_reply(std::string_view text);

class connection {
public:
    // Connects to the socket at that path. The time-out is how long connecting, sending, and the
    // wait for a reply may take each. A no_daemon when none listens there.
    connection(const std::string& path, std::chrono::milliseconds timeout);
    connection(const connection&) = delete;
    connection& operator=(const connection&) = delete;
    ~connection();

    // Sends a request and waits for its reply. A no_answer when none comes, or something else.
    [[nodiscard]] reply ask(std::string_view request) const;

private:
    int fd_;
};

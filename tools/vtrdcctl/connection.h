// A connection to the daemon's command socket.
#pragma once

#include <chrono>
#include <cstddef>
#include <string>
#include <string_view>

struct reply {
    bool is_done;  // false for an error reply
    bool has_data; // false for a reply without data
    std::string data;
};

// Much larger than the longest reply, which the daemon sends at once.
inline constexpr std::size_t REPLY_SIZE = 65536;

// Connects a Unix stream socket to the path. Returns false with errno set on failure.
[[nodiscard]] bool connect_socket(int descriptor, const std::string& path);

// Splits a reply "type:command:data type:data". Throws no_answer if it is malformed.
[[nodiscard]] reply decode_reply(std::string_view text);

class connection {
public:
    // Connects to the socket at that path. The timeout applies to connecting, sending and each
    // reply separately. Throws no_daemon if nobody listens there.
    connection(const std::string& path, std::chrono::milliseconds timeout);
    connection(const connection&) = delete;
    connection& operator=(const connection&) = delete;
    ~connection();

    // Sends a request and waits for its reply. Throws no_answer without a valid one.
    [[nodiscard]] reply ask(std::string_view request) const;

private:
    int fd_;
};

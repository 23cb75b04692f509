// Peers of the network streams: clients of the TCP stream, and a server for the HTTP push.
#include "support/network.h"

#include "support/process.h"

#include <algorithm>
#include <array>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <map>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr std::size_t TS_PACKET = 188;
constexpr char TS_SYNC = 0x47;
// Tables follow the elementary streams. Skips a table equal to the one that the server sends a new
// client first.
constexpr int LAST_TABLE_PID = 0x20;
constexpr const char* HEAD_END = "\r\n\r\n";
constexpr const char* LAST_CHUNK = "\r\n0\r\n\r\n";

sockaddr_in loopback(int port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

int new_socket() {
    return socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
}

int listen_on(int port) {
    const int fd = new_socket();
    const int yes = 1;
    setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    const sockaddr_in address = loopback(port);
    EXPECT_EQ(bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    EXPECT_EQ(listen(fd, 4), 0);
    return fd;
}

void reset_and_close(int fd) {
    const linger at_once{1, 0};
    setsockopt(fd, SOL_SOCKET, SO_LINGER, &at_once, sizeof at_once);
    close(fd);
}

bool is_readable(int fd) {
    pollfd waiting{fd, POLLIN, 0};
    constexpr auto limit = std::chrono::milliseconds{WAIT_LIMIT}.count();
    return poll(&waiting, 1, static_cast<int>(limit)) == 1;
}

// The relevant fields of a transport stream packet.
class ts_packet {
public:
    explicit ts_packet(std::string_view bytes) : bytes_{bytes} {}
    [[nodiscard]] bool is_one() const { return bytes_[0] == TS_SYNC; }
    [[nodiscard]] int pid() const { return (at(1) & 0x1f) << 8 | at(2); }
    [[nodiscard]] int counter() const { return at(3) & 0x0f; }
    [[nodiscard]] bool has_payload() const { return (at(3) & 0x10) != 0; }
    // The payload begins with the start code of a video stream.
    [[nodiscard]] bool begins_picture() const {
        const std::size_t adaptation = (at(3) & 0x20) != 0 ? 1U + at(4) : 0U;
        const bool begins_unit = (at(1) & 0x40) != 0;
        return begins_unit && adaptation + 8 <= bytes_.size() &&
               bytes_.substr(4 + adaptation, 4) == std::string_view{"\0\0\1\xe0", 4};
    }

private:
    [[nodiscard]] unsigned char at(std::size_t place) const {
        return static_cast<unsigned char>(bytes_[place]);
    }

    std::string_view bytes_;
};

// A chunked body: each chunk follows a line with its size in hexadecimal.
std::string without_chunks(const std::string& text) {
    std::string body;
    for (std::size_t place = 0; place < text.size();) {
        const std::size_t line_end = text.find("\r\n", place);
        if (line_end == std::string::npos) {
            break;
        }
        const std::size_t size = std::strtoul(text.c_str() + place, nullptr, 16);
        body += text.substr(line_end + 2, size);
        place = line_end + 2 + size + 2;
    }
    return body;
}

} // namespace

int free_port() {
    const int fd = new_socket();
    sockaddr_in address = loopback(0);
    socklen_t size = sizeof address;
    EXPECT_EQ(bind(fd, reinterpret_cast<const sockaddr*>(&address), size), 0);
    EXPECT_EQ(getsockname(fd, reinterpret_cast<sockaddr*>(&address), &size), 0);
    close(fd);
    return ntohs(address.sin_port);
}

stream_client::stream_client(int port) : fd_{new_socket()} {
    const sockaddr_in address = loopback(port);
    EXPECT_EQ(connect(fd_, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
}

stream_client::~stream_client() {
    reset_and_close(fd_);
}

std::string stream_client::read(std::size_t bytes) {
    std::string result;
    std::array<char, 65536> part{};
    while (result.size() < bytes && is_readable(fd_)) {
        const ssize_t length = recv(fd_, part.data(), part.size(), 0);
        if (length <= 0) {
            break;
        }
        result.append(part.data(), static_cast<std::size_t>(length));
    }
    return result;
}

bool stream_client::is_closed_in_time() {
    std::array<char, 65536> part{};
    while (is_readable(fd_)) {
        if (recv(fd_, part.data(), part.size(), 0) <= 0) {
            return true;
        }
    }
    return false;
}

int continuity_breaks(const std::string& stream) {
    std::map<int, int> next;
    int breaks = 0;
    for (std::size_t place = 0; place + TS_PACKET <= stream.size(); place += TS_PACKET) {
        const ts_packet packet{std::string_view{stream}.substr(place, TS_PACKET)};
        breaks += packet.is_one() ? 0 : 1;
        if (!packet.has_payload() || packet.pid() <= LAST_TABLE_PID) {
            continue;
        }
        const auto expected = next.find(packet.pid());
        breaks += expected != next.end() && expected->second != packet.counter() ? 1 : 0;
        next[packet.pid()] = (packet.counter() + 1) % 16;
    }
    return breaks;
}

std::string whole_pictures(const std::string& stream) {
    std::vector<std::size_t> starts;
    for (std::size_t place = 0; place + TS_PACKET <= stream.size(); place += TS_PACKET) {
        if (ts_packet{std::string_view{stream}.substr(place, TS_PACKET)}.begins_picture()) {
            starts.push_back(place);
        }
    }
    return starts.empty() ? "" : stream.substr(starts.front(), starts.back() - starts.front());
}

push_server::push_server(int port, bool mute)
    : listener_{listen_on(port)}, stop_pipe_{-1, -1}, mute_{mute} {
    // Child processes must not inherit it.
    EXPECT_EQ(pipe2(stop_pipe_, O_CLOEXEC), 0);
    thread_ = std::thread{[this] { serve(); }};
}

push_server::~push_server() {
    close(stop_pipe_[1]);
    thread_.join();
    close(stop_pipe_[0]);
    close(listener_);
    if (client_ >= 0) {
        reset_and_close(client_);
    }
}

void push_server::serve() {
    for (;;) {
        // Clients that are absent or not to be read are negative numbers, which poll skips.
        std::array<pollfd, 3> waiting{{{stop_pipe_[0], POLLIN, 0},
                                       {listener_, POLLIN, 0},
                                       {mute_ ? -1 : client_, POLLIN, 0}}};
        poll(waiting.data(), waiting.size(), -1);
        if (waiting[0].revents != 0) {
            return;
        }
        if (waiting[2].revents != 0) {
            read_client();
        } else if (waiting[1].revents != 0) {
            accept_client();
        }
    }
}

void push_server::accept_client() {
    if (client_ >= 0) {
        close(client_);
    }
    client_ = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    const std::scoped_lock lock{mutex_};
    ++connections_;
    received_.clear();
    changed_.notify_all();
}

void push_server::read_client() {
    std::array<char, 65536> part{};
    const ssize_t length = recv(client_, part.data(), part.size(), 0);
    if (length <= 0) {
        close(client_);
        client_ = -1;
        return;
    }
    const std::scoped_lock lock{mutex_};
    const bool had_head = received_.find(HEAD_END) != std::string::npos;
    received_.append(part.data(), static_cast<std::size_t>(length));
    if (!had_head && received_.find(HEAD_END) != std::string::npos) {
        answer("HTTP/1.1 100 Continue\r\n\r\n");
    }
    if (received_.ends_with(LAST_CHUNK)) {
        answer("HTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n");
    }
    changed_.notify_all();
}

void push_server::answer(std::string_view text) const {
    send(client_, text.data(), text.size(), MSG_NOSIGNAL);
}

int push_server::connections() {
    const std::scoped_lock lock{mutex_};
    return connections_;
}

bool push_server::wait_for_client() {
    std::unique_lock lock{mutex_};
    return changed_.wait_for(lock, WAIT_LIMIT, [this] { return connections_ > 0; });
}

bool push_server::wait_for_bytes(std::size_t bytes) {
    std::unique_lock lock{mutex_};
    return changed_.wait_for(lock, WAIT_LIMIT, [&] { return received_.size() >= bytes; });
}

std::string push_server::head() {
    const std::scoped_lock lock{mutex_};
    return received_.substr(0, received_.find(HEAD_END));
}

std::string push_server::body() {
    const std::scoped_lock lock{mutex_};
    const std::size_t end = received_.find(HEAD_END);
    return end == std::string::npos ? "" : without_chunks(received_.substr(end + 4));
}

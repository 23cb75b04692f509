// The other ends of the network streams: clients of the TCP stream, and a server for the HTTP push.
#pragma once

#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

// A port of loopback that nobody listens on.
int free_port();

// A client of the TCP stream.
class stream_client {
public:
    explicit stream_client(int port);
    stream_client(const stream_client&) = delete;
    stream_client& operator=(const stream_client&) = delete;
    // Leaves abruptly: the connection is reset.
    ~stream_client();

    // Reads that many bytes more, or up to the end of the stream.
    std::string read(std::size_t bytes);

    // True when the server closes the connection; what was sent before is read and dropped.
    bool is_closed_in_time();

private:
    int fd_;
};

// Packets of a transport stream that are none, or break the continuity of their elementary stream.
int continuity_breaks(const std::string& stream);

// The stream from the first packet that begins a picture to the one before the last that does: a
// client joins, and leaves, in the middle of one.
std::string whole_pictures(const std::string& stream);

// A server that takes what is pushed to it, on a thread of its own. Destroying it is its death: its
// connections are reset.
class push_server {
public:
    // One that is mute accepts but never reads.
    explicit push_server(int port, bool mute = false);
    push_server(const push_server&) = delete;
    push_server& operator=(const push_server&) = delete;
    ~push_server();

    // Waits until a client has connected, and until it has sent that much.
    [[nodiscard]] bool wait_for_client();
    [[nodiscard]] bool wait_for_bytes(std::size_t bytes);

    // How many connections there have been.
    [[nodiscard]] int connections();

    // The request line and headers of the latest push, and its body so far.
    [[nodiscard]] std::string head();
    [[nodiscard]] std::string body();

private:
    void serve();
    void accept_client();
    void read_client();
    void answer(std::string_view text) const;

    int listener_;
    int stop_pipe_[2];
    bool mute_;
    int client_ = -1;
    std::mutex mutex_; // what follows
    std::condition_variable changed_;
    int connections_ = 0;
    std::string received_; // of the latest connection
    std::thread thread_;
};

// Peers of the network streams: clients of the TCP stream, and a server for the HTTP push.
#pragma once

#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

// Returns an unused port on loopback.
int free_port();

// A client of the TCP stream.
class stream_client {
public:
    explicit stream_client(int port);
    stream_client(const stream_client&) = delete;
    stream_client& operator=(const stream_client&) = delete;
    // Disconnects abruptly: resets the connection.
    ~stream_client();

    // Reads that many more bytes, or until the end of the stream.
    std::string read(std::size_t bytes);

    // True when the server closes the connection; discards what was sent before.
    bool is_closed_in_time();

private:
    int fd_;
};

// Packets that are invalid or break the continuity of their elementary stream.
int continuity_breaks(const std::string& stream);

// The stream from the first packet with the start of a picture to the one before the last such
// packet: a client joins and leaves in the middle of pictures.
std::string whole_pictures(const std::string& stream);

// A push server on its own thread. Destroying it kills it: its connections are reset.
class push_server {
public:
    // A mute server accepts but never reads.
    explicit push_server(int port, bool mute = false);
    push_server(const push_server&) = delete;
    push_server& operator=(const push_server&) = delete;
    ~push_server();

    // Waits until a client has connected and sent that much.
    [[nodiscard]] bool wait_for_client();
    [[nodiscard]] bool wait_for_bytes(std::size_t bytes);

    // Number of connections so far.
    [[nodiscard]] int connections();

    // Request line and headers of the latest push, and its body so far.
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
    std::mutex mutex_; // protects the rest
    std::condition_variable changed_;
    int connections_ = 0;
    std::string received_; // of the latest connection
    std::thread thread_;
};

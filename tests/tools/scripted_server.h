// A fake daemon with given replies.
#pragma once

#include <filesystem>
#include <string>
#include <thread>
#include <vector>

class scripted_server {
public:
    // Listens at that path. Without replies it is mute and doesn't even accept connections.
    // Otherwise it serves one connection, one reply per request, and closes it after the last
    // reply.
    explicit scripted_server(const std::filesystem::path& socket, std::vector<std::string> replies);
    scripted_server(const scripted_server&) = delete;
    scripted_server& operator=(const scripted_server&) = delete;
    ~scripted_server();

    // Waits for the end of the connection; returns all requests.
    [[nodiscard]] std::vector<std::string> requests();

private:
    void serve();

    int listener_;
    std::vector<std::string> replies_;
    std::vector<std::string> requests_;
    std::thread thread_;
};

// A server in the daemon's place whose replies are known beforehand.
#pragma once

#include <filesystem>
#include <string>
#include <thread>
#include <vector>

class scripted_server {
public:
    // Listens at that path. Without replies it stays mute: connections are not even accepted. Else
    // it serves one connection, a reply for each request, and closes it when they are used up.
    explicit scripted_server(const std::filesystem::path& socket, std::vector<std::string> replies);
    scripted_server(const scripted_server&) = delete;
    scripted_server& operator=(const scripted_server&) = delete;
    ~scripted_server();

    // Waits for the end of the connection; all that was asked.
    [[nodiscard]] std::vector<std::string> requests();

private:
    void serve();

    int listener_;
    std::vector<std::string> replies_;
    std::vector<std::string> requests_;
    std::thread thread_;
};

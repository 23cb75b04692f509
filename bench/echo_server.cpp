// The minimal cost of a command socket: a poll loop that echoes what it receives.
#include "unix_socket.h"

#include <array>
#include <poll.h>
#include <unistd.h>
#include <vector>

namespace {

// As the daemon's limit of one request.
constexpr std::size_t REQUEST_SIZE = 2048;
constexpr int BACKLOG = 32;

// Returns false when the client has disconnected.
bool echo(int client) {
    std::array<char, REQUEST_SIZE> request;
    const ssize_t size = recv(client, request.data(), request.size(), 0);
    return size > 0 &&
           send(client, request.data(), static_cast<std::size_t>(size), MSG_NOSIGNAL) == size;
}

void serve(int listener) {
    std::vector<pollfd> watched{{listener, POLLIN, 0}};
    for (;;) {
        poll(watched.data(), watched.size(), -1);
        for (std::size_t i = watched.size() - 1; i > 0; --i) {
            if (watched[i].revents != 0 && !echo(watched[i].fd)) {
                close(watched[i].fd);
                watched.erase(watched.begin() + static_cast<std::ptrdiff_t>(i));
            }
        }
        if (watched.front().revents != 0) {
            watched.push_back({accept(listener, nullptr, nullptr), POLLIN, 0});
        }
    }
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "Usage: %s SOCKET\n", argv[0]);
        return 2;
    }
    unlink(argv[1]); // left by an earlier run
    const int listener = open_unix_socket(argv[1], bind);
    if (listen(listener, BACKLOG) != 0) {
        std::perror(argv[1]);
        return EXIT_FAILURE;
    }
    serve(listener);
}

// Unix stream sockets for the benchmark programs.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sys/socket.h>
#include <sys/un.h>

// Returns a new socket after calling `use` (bind or connect) with its path; exits on failure.
template <class Use> int open_unix_socket(const char* path, Use use) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path, sizeof address.sun_path - 1);
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0 || use(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        std::perror(path);
        std::exit(EXIT_FAILURE);
    }
    return fd;
}

// The local command socket: clients connect, send one request at a time, and get one reply each.
#include "api/socket.h"

#include "api/api.h"
#include "core/eventagg.h"
#include "core/log.h"
#include "util/sysroot.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <string_view>
#include <sys/time.h>
#include <unistd.h>

using std::chrono::milliseconds;

namespace {

// Maximum bytes of one request. What a client sends beyond that is its next request.
constexpr std::size_t REQUEST_SIZE = 2048;
constexpr int BACKLOG = 1;
// How long replies may wait for clients that don't read. Other clients and the sight wait
// meanwhile.
constexpr milliseconds PASS_TIME{1000}; // for all replies of a pass
constexpr milliseconds STUCK_TIME{1};   // for a stuck client
milliseconds time_left = PASS_TIME;     // in this pass

void set_send_time(client_socket& client, milliseconds time) {
    const auto time_ms = static_cast<int>(time.count());
    if (client.send_time_ms == time_ms) {
        return;
    }
    client.send_time_ms = time_ms;
    const suseconds_t rest_ms = time_ms % 1000;
    const timeval timeout{.tv_sec = time_ms / 1000, .tv_usec = rest_ms * 1000};
    setsockopt(client.fd, SOL_SOCKET, SO_SNDTIMEO, &timeout, sizeof timeout);
}

// Returns the address of a path, cut to the available length.
sockaddr_un address_of(std::string_view path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    return address;
}

void answer(client_socket& client, char* request) {
    log_message(LEVEL_DEBUG, "IPC in: %s", request);
    const malloc_text reply = process_ipc(request);
    if (!reply) {
        log_fatal("Failed to decode the IPC message");
    }
    log_message(LEVEL_DEBUG, "IPC out: %s", reply.get());
    if (socket_send(client, reply.get()) < 1) {
        log_message(LEVEL_WARN, "Failed to send data through client socket");
    }
}

} // namespace

server_owner socket_init(int domain, int type) {
    server_owner server = zeroed_record<server_socket>();
    if (server) {
        server->fd = -1;
        server->domain = domain;
        server->type = type;
    }
    return server;
}

void socket_bind(server_socket& server, const char* path) {
    server.fd = socket(server.domain, server.type | SOCK_CLOEXEC, 0);
    if (server.fd < 0) {
        log_fatal("Failed to create server file socket");
    }
    server.address = address_of(sysroot_path(path));
    unlink(server.address.sun_path);
    fcntl(server.fd, F_SETFL, fcntl(server.fd, F_GETFL) | O_NONBLOCK);
    const int result =
        bind(server.fd, reinterpret_cast<const sockaddr*>(&server.address), sizeof server.address);
    if (result != 0) {
        log_fatal("Failed to bind server file socket: ret: %d, errno=%d", result, errno);
    }
}

void socket_listen(server_socket& server) {
    if (listen(server.fd, BACKLOG) != 0) {
        log_fatal("Failed to listen to server file socket");
    }
}

int socket_accept(server_socket& server, client_socket& client) {
    socklen_t size = sizeof client.address;
    client.fd =
        accept4(server.fd, reinterpret_cast<sockaddr*>(&client.address), &size, SOCK_CLOEXEC);
    if (client.fd < 0) {
        return -1;
    }
    log_message(LEVEL_DEBUG, "Client socket connected");
    return client.fd;
}

ssize_t socket_recv(client_socket& client, char* buffer, std::size_t size) {
    const ssize_t count = recv(client.fd, buffer, size, 0);
    // Leaves room for the terminator. Bytes after a NUL are dropped.
    buffer[std::min(static_cast<std::size_t>(std::max(count, ssize_t{0})), size - 1)] = '\0';
    return count;
}

void socket_begin_pass() {
    time_left = PASS_TIME;
}

ssize_t socket_send(client_socket& client, const char* text) {
    const milliseconds time = std::min(client.is_stuck ? STUCK_TIME : PASS_TIME, time_left);
    // A time of 0 would mean no limit.
    set_send_time(client, std::max(time, milliseconds{1}));
    const auto start = std::chrono::steady_clock::now();
    const ssize_t sent =
        send(client.fd, text, std::strlen(text), time > milliseconds{0} ? 0 : MSG_DONTWAIT);
    // Sends that did not wait cost nothing.
    const auto taken = std::chrono::floor<milliseconds>(std::chrono::steady_clock::now() - start);
    time_left -= std::min(taken, time_left);
    client.is_stuck = sent < 1;
    return sent;
}

void socket_close(server_socket& server) {
    close(server.fd);
}

void socket_client_close(client_socket& client) {
    close(client.fd);
}

void accept_client_connection(server_socket& server) {
    client_owner client = zeroed_record<client_socket>();
    if (!client) {
        log_fatal("failed to create client sock");
    }
    if (socket_accept(server, *client) <= 0) {
        log_fatal("failed to accept client connection");
    }
    const auto user_data = reinterpret_cast<std::uintptr_t>(client.get());
    if (ea_register_event(client->fd, EVENT_TYPE_CLIENT, user_data) != 0) {
        log_fatal("failed to register client event");
    }
    log_message(LEVEL_DEBUG, "registered a new client connection");
    // The aggregator's record owns it now.
    static_cast<void>(client.release());
}

int accept_client_message(client_socket& client) {
    const malloc_text request{static_cast<char*>(std::malloc(REQUEST_SIZE))};
    if (!request) {
        log_fatal("failed to malloc");
    }
    if (socket_recv(client, request.get(), REQUEST_SIZE) <= 0) {
        socket_client_close(client);
        return 1;
    }
    answer(client, request.get());
    return 0;
}

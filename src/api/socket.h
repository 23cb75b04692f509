// The local command socket: clients connect, send one request at a time, and get one reply each.
#pragma once

#include "core/imem.h"

#include <cstddef>
#include <sys/socket.h>
#include <sys/types.h>
#include <sys/un.h>

struct server_socket {
    int fd; // listening; -1 until bound
    int domain;
    int type;
    sockaddr_un address;
};

struct client_socket {
    int fd; // connected
    sockaddr_un address;
    // Its last reply could not be sent. Until one succeeds, sends get almost no time.
    bool is_stuck;
    int send_time_ms; // send timeout set on the descriptor; 0 before the first reply
};

using server_owner = malloc_owner<server_socket>;
using client_owner = malloc_owner<client_socket>;

// Returns a record for a socket of that family and type, or none when memory is short.
[[nodiscard]] server_owner socket_init(int domain, int type);

// Creates the socket and binds it to the path, replacing any file there. Paths are cut to 107
// characters. A failure is an ERROR.
void socket_bind(server_socket& server, const char* path);

// Starts listening; a failure is an ERROR.
void socket_listen(server_socket& server);

// Accepts a pending connection into the client record. Returns its descriptor or -1.
[[nodiscard]] int socket_accept(server_socket& server, client_socket& client);

// Receives once into the buffer, as text that ends at the first NUL. Returns the number of bytes
// received, 0 when the peer closed, negative on an error.
[[nodiscard]] ssize_t socket_recv(client_socket& client, char* buffer, std::size_t size);

// Begins a pass of the loop: all sends of one pass together may wait one second for clients that
// don't read.
void socket_begin_pass();

// Sends the text in one call and waits at most for the rest of that second. Returns the number of
// bytes sent, or -1.
[[nodiscard]] ssize_t socket_send(client_socket& client, const char* text);

// Closes the listening descriptor; the file stays until the next start.
void socket_close(server_socket& server);
void socket_client_close(client_socket& client);

// Accepts a connection and registers it with the event aggregator, whose record then holds the new
// client_socket. Failures are ERRORs.
void accept_client_connection(server_socket& server);

// Serves one request. Returns 0 when it was answered, 1 when the peer has closed: the caller then
// unregisters the descriptor and releases the record.
[[nodiscard]] int accept_client_message(client_socket& client);

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
    // Its last reply could not be sent; until one can, it is given next to no time.
    bool is_stuck;
    int send_time_ms; // as set for the descriptor; 0 before the first reply
};

using server_owner = malloc_owner<server_socket>;
using client_owner = malloc_owner<client_socket>;

// A record for a socket of that family and type; none when memory is short.
[[nodiscard]] server_owner socket_init(int domain, int type);

// Creates the socket and binds it to the path, in place of any file there. Of a path of more than
// 107 characters the first 107 are the path. A failure is an ERROR.
void socket_bind(server_socket& server, const char* path);

// Starts listening; a failure is an ERROR.
void socket_listen(server_socket& server);

// Accepts a pending connection into the client record: its descriptor, or -1.
[[nodiscard]] int socket_accept(server_socket& server, client_socket& client);

// Receives once into the buffer, as terminated text up to the first NUL. The number of bytes
// received, 0 when the peer closed, negative on an error.
[[nodiscard]] ssize_t socket_recv(client_socket& client, char* buffer, std::size_t size);

// Tells that a pass of the loop begins: sending may wait for clients that don't read for a second
// again, all replies of the pass together.
void socket_begin_pass();

// Sends the text in one call, waiting for what is left of that second at most. The number of bytes
// sent, or -1.
[[nodiscard]] ssize_t socket_send(client_socket& client, const char* text);

// Closes the listening descriptor; the file stays until the next start.
void socket_close(server_socket& server);
void socket_client_close(client_socket& client);

// Accepts a connection and registers it with the event aggregator, whose record then holds the new
// client_socket. Failures are ERRORs.
void accept_client_connection(server_socket& server);

// Serves one request. 0 when it was answered; 1 when the peer has closed: the caller unregisters
// the descriptor and releases the record.
[[nodiscard]] int accept_client_message(client_socket& client);

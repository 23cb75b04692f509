// The table of routes: a row for each method and path. PROTOCOL.md describes them.
#pragma once

#include "board_folder.h"
#include "contained_folder.h"
#include "page_socket.h"
#include "sim_command.h"

#include <libsoup/soup.h>

#include <functional>
#include <memory>
#include <span>
#include <string>

namespace web {

// The objects and functions that handlers use. The objects are borrowed.
struct services {
    const board_folder& board;
    const sim_command& sim;
    const contained_folder& page;
    std::function<void(std::unique_ptr<page_socket>)> on_event_client;
    std::function<void(std::unique_ptr<page_socket>)> on_picture_client;
};

// `parameter` is what follows the route's path in that of the request.
using request_handler = void (*)(const services&, SoupServerMessage* request,
                                 const std::string& parameter);

struct route {
    const char* method;         // GET with a `handler` includes HEAD
    const char* path;           // ends with a slash if a parameter follows
    const char* parameter = ""; // its name in PROTOCOL.md, such as "{file}"
    request_handler handler = nullptr;
    // For a WebSocket, instead of a handler: the function that serves the connection.
    std::function<void(std::unique_ptr<page_socket>)> services::*client_handler = nullptr;
    // For a POST: the maximum size of its body in bytes, and the folder to which it is written.
    goffset body_max = 0;
    std::string (*upload_folder)(const board_folder&) = nullptr;
};

[[nodiscard]] std::span<const route> all_routes();

} // namespace web

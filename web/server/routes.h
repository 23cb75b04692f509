// The table of what the server answers: a row for each method and path, described in PROTOCOL.md.
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

// What the handlers work on; borrowed.
struct services {
    const board_folder& board;
    const sim_command& sim;
    const contained_folder& page;
    std::function<void(std::unique_ptr<page_socket>)> on_event_client;
    std::function<void(std::unique_ptr<page_socket>)> on_picture_client;
};

// `parameter` is what follows the route's path.
using request_handler = void (*)(const services&, SoupServerMessage* request,
                                 const std::string& parameter);

struct route {
    const char* method; // a GET of a file stands for HEAD, too
    const char* path;   // ends with a slash where a parameter follows
    const char* parameter = "";
    request_handler handler = nullptr;
    // Of a WebSocket, in place of a handler: who serves the connection.
    std::function<void(std::unique_ptr<page_socket>)> services::*client_handler = nullptr;
    // Of a POST: the most bytes of its body, and the folder that it is written to.
    goffset body_max = 0;
    std::string (*upload_folder)(const board_folder&) = nullptr;
};

[[nodiscard]] std::span<const route> all_routes();

} // namespace web

// The table of routes: a row for each method and path, described in PROTOCOL.md.
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

// What handlers use; borrowed.
struct services {
    const board_folder& board;
    const sim_command& sim;
    const contained_folder& page;
    std::function<void(std::unique_ptr<page_socket>)> on_event_client;
    std::function<void(std::unique_ptr<page_socket>)> on_picture_client;
};

// `parameter` is the rest of the path after the route's.
using request_handler = void (*)(const services&, SoupServerMessage* request,
                                 const std::string& parameter);

struct route {
    const char* method; // GET of a file includes HEAD
    const char* path;   // ends with a slash if a parameter follows
    const char* parameter = "";
    request_handler handler = nullptr;
    // For a WebSocket, instead of a handler: the function that serves the connection.
    std::function<void(std::unique_ptr<page_socket>)> services::*client_handler = nullptr;
    // For a POST: maximum bytes of its body, and the folder that it is written to.
    goffset body_max = 0;
    std::string (*upload_folder)(const board_folder&) = nullptr;
};

[[nodiscard]] std::span<const route> all_routes();

} // namespace web

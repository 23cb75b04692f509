// A page's requests over its WebSocket: daemon commands, and verbs for the board.
#pragma once

#include "board_folder.h"
#include "daemon_client.h"
#include "response.h"
#include "sight_state.h"
#include "sim_command.h"

#include <nlohmann/json.hpp>

#include <span>
#include <string>
#include <string_view>

namespace web {

// What request handlers use; borrowed.
struct request_context {
    const board_folder& board;
    const sim_command& sim;
    daemon_client& daemon;
    sight_state& state;
    std::span<const std::string> start_words; // options of the daemon's start
};

// A handler by the value of "request" in its message.
struct page_request {
    std::string_view name;
    void (*handle)(const request_context&, const nlohmann::json& message, const response_callback&);
};

[[nodiscard]] std::span<const page_request> all_page_requests();

// Executes a page's request, or responds with an error.
void handle_page_request(const request_context& context, const nlohmann::json& message,
                         const response_callback& respond);

} // namespace web

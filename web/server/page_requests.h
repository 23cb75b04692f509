// What a page can request over its WebSocket: commands of the daemon, and verbs for the board.
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

// What the handlers of requests work on; borrowed.
struct request_context {
    const board_folder& board;
    const sim_command& sim;
    daemon_client& daemon;
    sight_state& state;
    std::span<const std::string> start_words; // of the daemon
};

// A request by its name, which is its message's "request".
struct page_request {
    std::string_view name;
    void (*handle)(const request_context&, const nlohmann::json& message, const response_callback&);
};

[[nodiscard]] std::span<const page_request> all_page_requests();

// Carries out what a page's message requests, or responds why not.
void handle_page_request(const request_context& context, const nlohmann::json& message,
                         const response_callback& respond);

} // namespace web

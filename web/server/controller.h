// Connects board, daemon and pages: passes news to the pages, and their requests on.
#pragma once

#include "board_folder.h"
#include "board_lists.h"
#include "daemon_client.h"
#include "event_clients.h"
#include "http_server.h"
#include "log_tail.h"
#include "page_requests.h"
#include "panel_stream.h"
#include "sight_state.h"
#include "sim_command.h"

#include <string>
#include <vector>

namespace web {

struct controller_options {
    std::string board;
    std::string page;        // folder of the page's files
    std::string log;         // the daemon's, of this run
    std::string sim;         // scripts/sim, whose verbs act on the board
    std::string stock_scene; // the simulated board's own scene file
    std::string start;       // the command that starts this board's daemon, for a person
    // What such a start takes behind its verb, as the page was served with it.
    std::vector<std::string> start_words;
};

class controller {
public:
    explicit controller(const controller_options& options);
    controller(const controller&) = delete;
    controller& operator=(const controller&) = delete;

    [[nodiscard]] http_server& server() { return server_; }
    // While a page is open, or the board's daemon runs.
    [[nodiscard]] bool is_needed() const;

private:
    [[nodiscard]] std::vector<nlohmann::json> greeting() const;
    void follow_board(bool has_clients);

    const board_folder board_;
    const std::string start_;
    const std::vector<std::string> start_words_;
    const sim_command sim_;
    daemon_client daemon_;
    event_clients clients_;
    sight_state state_;
    board_lists lists_;
    panel_stream panel_;
    log_tail log_;
    const contained_folder page_files_;
    http_server server_;
};

} // namespace web

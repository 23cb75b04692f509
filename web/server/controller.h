// Connects board, daemon and pages: sends news to the pages and handles their requests.
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
    std::string page;        // folder with the page's files
    std::string log;         // the daemon's current log file
    std::string sim;         // scripts/sim, whose verbs control the board
    std::string stock_scene; // the simulated board's stock scene
    std::string start;       // the command that starts this board's daemon, shown to the user
    // Options for such a start: those that the page was started with.
    std::vector<std::string> start_words;
};

class controller {
public:
    explicit controller(const controller_options& options);
    controller(const controller&) = delete;
    controller& operator=(const controller&) = delete;

    [[nodiscard]] http_server& server() { return server_; }
    // True while a page is open or the board's daemon runs.
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

// The bench behind its pages: the board, the daemon and what a page is told of them, put together.
#pragma once

#include "acts.h"
#include "board_lists.h"
#include "board_place.h"
#include "daemon_link.h"
#include "front_door.h"
#include "log_facts.h"
#include "log_tail.h"
#include "page_events.h"
#include "panel_stream.h"
#include "sight_state.h"
#include "web_server.h"

#include <optional>
#include <string>
#include <vector>

namespace web {

struct desk_options {
    std::string board;
    std::string page;        // folder of the page's files
    std::string log;         // the daemon's, of this run
    std::string front_door;  // the program whose verbs act on the board
    std::string stock_scene; // the simulated board's own scene file
    std::string start;       // the command that starts this board's daemon, for a person
};

class desk {
public:
    explicit desk(const desk_options& options);
    desk(const desk&) = delete;
    desk& operator=(const desk&) = delete;

    [[nodiscard]] web_server& server() { return server_; }

private:
    [[nodiscard]] std::vector<nlohmann::json> greeting() const;
    void follow_board(bool has_pages);
    [[nodiscard]] log_tail::listeners log_listeners();
    void take_facts();

    const board_place board_;
    const std::string start_;
    const front_door door_;
    std::optional<log_facts> facts_;
    daemon_link daemon_;
    page_events pages_;
    sight_state state_;
    board_lists lists_;
    panel_stream panel_;
    log_tail log_;
    web_server server_;
};

} // namespace web

// What a page can ask for: commands of the daemon, and acts on the board.
#pragma once

#include "board_place.h"
#include "daemon_link.h"
#include "front_door.h"
#include "sight_state.h"

#include <nlohmann/json.hpp>

namespace web {

// What acts work on; borrowed.
struct act_tools {
    const board_place& board;
    const front_door& door;
    daemon_link& daemon;
    sight_state& state;
};

// Does what a page's message asks for, in the page's protocol. The end comes now or later, once.
void perform_act(const act_tools& tools, const nlohmann::json& message, const act_end& on_end);

} // namespace web

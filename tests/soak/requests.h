// Requests drawn at random, good and bad, and what the daemon must answer.
#pragma once

#include "dice.h"

#include <string>

// What decides about replies; it changes only while no request is on its way.
struct sight_state {
    bool core_refuses = false; // the thermal core's tool fails
    bool handed_over = false;  // to an outside controller
    // Nobody pauses, ends or makes single pipes: recordings must play, snapshots have a frame.
    bool calm = true;
};

struct request {
    std::string text;
    std::string command; // as the reply names it
    char type;           // of the reply: r, e, or ? where the moment decides
    // The reply's data; "*" for any that is not empty.
    std::string data;

    [[nodiscard]] bool is_answered_by(const std::string& reply) const;
};

// Never one that ends the daemon by design.
request draw_request(dice& dice, const sight_state& state);

// One whose reply may not be waited for: it is long, and so is its reply.
std::string lengthy_request();

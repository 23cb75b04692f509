// Random valid and invalid requests, and the expected answers.
#pragma once

#include "dice.h"

#include <string>

// State that determines replies; changes only while no request is pending.
struct sight_state {
    bool core_refuses = false; // the thermal core's tool fails
    bool handed_over = false;  // to an outside controller
    // Nobody pauses, ends or creates single pipes: recordings must play, snapshots have a frame.
    bool calm = true;
};

struct request {
    std::string text;
    std::string command; // as the reply names it
    char type;           // of the reply: r, e, or ? if either is possible
    // The reply's data; "*" for any non-empty data.
    std::string data;

    [[nodiscard]] bool is_answered_by(const std::string& reply) const;
};

// Never one that ends the daemon by design.
request draw_request(dice& dice, const sight_state& state);

// One whose reply need not be awaited: it and its reply are long.
std::string lengthy_request();

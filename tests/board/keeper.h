// Observes the keeper of a board's buttons.
#pragma once

#include "support/board.h"

#include <vector>

// Process ids of the keepers of the board's buttons.
std::vector<pid_t> keepers(const board& board);

// Waits until the keeper waits for the process to end. Returns false if the keeper ends instead.
bool wait_until_watching(pid_t keeper, pid_t process);

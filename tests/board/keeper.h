// The keeper of a board's buttons, as seen from outside.
#pragma once

#include "support/board.h"

#include <vector>

// Ids of the processes that keep the board's buttons open.
std::vector<pid_t> keepers(const board& board);

// Waits until the keeper waits for the process to end; false when the keeper ends instead.
bool wait_until_watching(pid_t keeper, pid_t process);

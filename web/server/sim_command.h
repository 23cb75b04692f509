// Runs the verbs of scripts/sim, which control a board.
#pragma once

#include "response.h"

#include <string>
#include <vector>

namespace web {

class sim_command {
public:
    sim_command(std::string program, std::string board)
        : program_(std::move(program)), board_(std::move(board)) {}

    // Runs a verb with its arguments. Responds later, in the main loop.
    void run(const std::vector<std::string>& words, response_callback respond) const;

private:
    const std::string program_;
    const std::string board_;
};

} // namespace web

// Acts on the board, by the verbs of scripts/sim that a person has, too.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace web {

// What came of an act: whether it succeeded, and its words.
using act_end = std::function<void(bool is_done, const std::string& text)>;

class front_door {
public:
    front_door(std::string program, std::string board)
        : program_(std::move(program)), board_(std::move(board)) {}

    // Runs a verb with its words; the end comes later, in the main loop.
    void run(const std::vector<std::string>& words, act_end on_end) const;

private:
    const std::string program_;
    const std::string board_;
};

} // namespace web

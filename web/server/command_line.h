// The command line of vtrdc-web, which scripts/sim starts.
#pragma once

#include "controller.h"

#include <optional>
#include <string>

namespace web {

struct command_line {
    controller_options options;
    std::optional<unsigned> port; // of the loopback; else the first free one is found
    // It leaves its starter once it serves, and ends when nobody needs it any more.
    bool is_in_background = false;
};

// Reads the command line; none when something is wrong with it, with the reason in `why`.
[[nodiscard]] std::optional<command_line> read_command_line(int argc, char* argv[],
                                                            std::string& why);

} // namespace web

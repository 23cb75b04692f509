// The command line of vtrdc-web, which scripts/sim starts.
#pragma once

#include "controller.h"

#include <optional>
#include <string>

namespace web {

struct command_line {
    controller_options options;
    std::optional<unsigned> port; // on loopback; none: the first free one
    // Detaches from its parent once it serves, and ends when no longer needed.
    bool is_in_background = false;
};

// Parses the command line. None if it is invalid, with the reason in `why`.
[[nodiscard]] std::optional<command_line> read_command_line(int argc, char* argv[],
                                                            std::string& why);

} // namespace web

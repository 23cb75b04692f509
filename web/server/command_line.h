// The command line of vtrdc-web, which scripts/sim starts.
#pragma once

#include "desk.h"

#include <optional>
#include <string>
#include <sys/types.h>

namespace web {

struct command_line {
    desk_options desk;
    std::string daemon;           // its program, to know it by
    std::optional<unsigned> port; // of the loopback; else the first free one is found
    // The process that becomes the daemon: the server goes into the background, and ends with it.
    std::optional<pid_t> beside;
};

// Reads the command line; none when something is wrong with it, with the reason in `why`.
[[nodiscard]] std::optional<command_line> read_command_line(int argc, char* argv[],
                                                            std::string& why);

} // namespace web

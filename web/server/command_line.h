// The command line of vtrdc-web, which scripts/sim starts.
#pragma once

#include "controller.h"

#include <optional>
#include <string>
#include <sys/types.h>

namespace web {

struct command_line {
    controller_options options;
    std::string daemon;           // its program, by which it is recognised
    std::optional<unsigned> port; // of the loopback; else the first free one is found
    // The process that becomes the daemon: the server runs in the background and ends with it.
    std::optional<pid_t> beside;
};

// Reads the command line; none when something is wrong with it, with the reason in `why`.
[[nodiscard]] std::optional<command_line> read_command_line(int argc, char* argv[],
                                                            std::string& why);

} // namespace web

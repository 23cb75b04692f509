// What the marks in the commands' help mean.
#pragma once

#include <array>

// A heading, then one line for each mark.
inline constexpr std::array api_legend_arr{
    "\n  Client Commands Legend:",
    "   @ - the command updates the corresponding option in the config file",
    "   ! - the argument is sourced from the configuration file",
    "   * - the command affects the current overlay",
    "   % - the command affects the current overlay until, disable_kbd command is received",
};

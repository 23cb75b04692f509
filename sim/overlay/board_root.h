// Where the simulated board's files are: the folder that stands for the board's root.
#pragma once

#include <string>

namespace overlay {

// The folder named by VTRDC_SYSROOT without a slash at its end; empty when unset or not absolute.
[[nodiscard]] std::string board_root();

} // namespace overlay

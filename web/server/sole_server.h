// Makes sure that a board has only one page server: a new one replaces the previous one.
#pragma once

#include <string>

namespace web {

// Ends the process that has the file locked, if any, and locks the file for the rest of the run.
// Returns false if the file can't be created. If the other process doesn't end in time, ends this
// one instead.
[[nodiscard]] bool become_sole_server(const std::string& file);

} // namespace web

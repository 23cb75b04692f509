// A board has one page: the next one takes the place of the one before.
#pragma once

#include <string>

namespace web {

// Ends the process that holds the file locked, if there is one, and locks the file until this
// process ends. False when there can be no such file. A process that doesn't end in time ends this
// one instead.
[[nodiscard]] bool become_sole_server(const std::string& file);

} // namespace web

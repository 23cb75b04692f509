// Commands from a text, one a line.
#pragma once

#include "vtrdcctl/client.h"

#include <istream>
#include <string>
#include <vector>

// The words of a line, which blanks separate. One in double quotes may hold blanks; in it, a
// backslash keeps the character behind it. A usage_error when the quotes are not closed.
[[nodiscard]] std::vector<std::string> split_words(const std::string& line);

// Runs each line as soon as it is read. Empty lines, and those that begin with "#", are passed
// over. Stops at the first failure, or goes on; the status is the first failure's. A no_answer
// ends the script in any case.
[[nodiscard]] exit_status run_script(client& client, std::istream& text, bool keep_going);

// Runs commands from a text, one a line.
#pragma once

#include "vtrdcctl/client.h"

#include <istream>
#include <string>
#include <vector>

// Splits a line at blanks. Words in double quotes may contain blanks, and a backslash in them
// escapes the next character. Throws usage_error for unclosed quotes.
[[nodiscard]] std::vector<std::string> split_words(const std::string& line);

// Runs each line as soon as it is read; skips empty lines and comments ("#"). Stops at the first
// failure unless `keep_going`; returns the first failure's status. A no_answer always ends the
// script.
[[nodiscard]] exit_status run_script(client& client, std::istream& text, bool keep_going);

// Prints answers and failures: as text, or as JSON objects, one a line.
#pragma once

#include "vtrdcctl/connection.h"
#include "vtrdcctl/exit_status.h"
#include "vtrdcctl/requests.h"

#include <string>
#include <string_view>

struct failure {
    exit_status status;
    std::string_view command; // empty: not about a command
    std::string_view text;
    std::string_view place{}; // line of a script
};

// Prints the data of a successful reply to standard output, typed as in the command's row.
void write_answer(bool is_json, const client_command& command, const reply& answer);

// Prints to standard error, or the JSON object to standard output.
void write_failure(bool is_json, const failure& what);

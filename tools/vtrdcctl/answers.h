// How answers and failures are written: as text for people, or as JSON objects, one a line.
#pragma once

#include "vtrdcctl/connection.h"
#include "vtrdcctl/exit_status.h"
#include "vtrdcctl/requests.h"

#include <string>
#include <string_view>

struct failure {
    exit_status status;
    std::string_view command; // empty: of no command
    std::string_view text;
    std::string_view place{}; // in a script
};

// Writes the data of a reply that is no error to standard output, typed as the command's row says.
void write_answer(bool is_json, const client_command& command, const reply& answer);

// Writes to standard error, or the object to standard output.
void write_failure(bool is_json, const failure& what);

// The status of the daemon, once and at each change.
#pragma once

#include "vtrdcctl/client.h"

#include <chrono>
#include <optional>
#include <string>

// A field of the status, such as "outputs.recording.state", and the text of its value.
struct status_condition {
    std::string field;
    std::string value;
};

// From "FIELD=VALUE"; a usage_error when it is something else.
[[nodiscard]] status_condition read_condition(const std::string& text);

struct watch_options {
    std::optional<std::chrono::milliseconds> duration; // none: without end
    std::optional<status_condition> until;
};

// Writes the status, in words or as it is in the file. Fails as status_file does.
[[nodiscard]] exit_status show_status(const client_options& options);

// Writes the status as an object a line, now and at each change, until the condition holds or the
// time is over. Fails as status_file does, also when the daemon ends; with a usage_error when the
// condition's field does not exist.
[[nodiscard]] exit_status watch_status(const client_options& options, const watch_options& wishes);

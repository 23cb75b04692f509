// Shows the daemon's status once, or at each change.
#pragma once

#include "vtrdcctl/client.h"

#include <chrono>
#include <optional>
#include <string>

// A field of the status, such as "outputs.recording.state", and its expected value.
struct status_condition {
    std::string field;
    std::string value;
};

// Parses "FIELD=VALUE". Throws usage_error if it is malformed.
[[nodiscard]] status_condition read_condition(const std::string& text);

struct watch_options {
    std::optional<std::chrono::milliseconds> duration; // none: without limit
    std::optional<status_condition> until;
};

// Prints the status, as text or JSON. Throws what status_file throws.
[[nodiscard]] exit_status show_status(const client_options& options);

// Prints the status as one JSON object per line, now and at each change, until the condition is met
// or the time is over. Throws what status_file throws, also when the daemon ends, and usage_error
// if the condition's field does not exist.
[[nodiscard]] exit_status watch_status(const client_options& options, const watch_options& wishes);

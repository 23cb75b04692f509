// The daemon's status in words for people.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

// A line for each thing there is to say. A field that is missing is left out or empty.
[[nodiscard]] std::string status_words(const nlohmann::ordered_json& status);

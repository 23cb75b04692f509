// Describes the daemon's status in words.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

// One line for each topic. Missing fields are left out or empty.
[[nodiscard]] std::string status_words(const nlohmann::ordered_json& status);

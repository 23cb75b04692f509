// The name that a mistyped one was meant to be.
#pragma once

#include <string>
#include <string_view>
#include <vector>

// The error for a word that is none of these names. It suggests the nearest one if any is near;
// what says what they name: "command".
[[nodiscard]] std::string unknown(std::string_view what, std::string_view word,
                                  const std::vector<std::string>& names);

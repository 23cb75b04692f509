// Suggests the name that a mistyped word probably means.
#pragma once

#include <string>
#include <string_view>
#include <vector>

// Returns the message for a word that is not in `names`, with the nearest name if one is near;
// `what` is the kind of name, such as "command".
[[nodiscard]] std::string unknown(std::string_view what, std::string_view word,
                                  const std::vector<std::string>& names);

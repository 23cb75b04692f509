// Suggests the name that a mistyped word probably means.
#include "vtrdcctl/nearest.h"

#include <algorithm>
#include <numeric>

namespace {

// Edit distance: inserted, removed and replaced letters.
std::size_t edits_between(std::string_view from, std::string_view to) {
    std::vector<std::size_t> costs(to.size() + 1);
    std::iota(costs.begin(), costs.end(), 0U);
    for (const char letter : from) {
        std::size_t diagonal = costs.front()++;
        for (std::size_t i = 1; i < costs.size(); ++i) {
            const std::size_t replaced = diagonal + (letter == to[i - 1] ? 0 : 1);
            diagonal = costs[i];
            costs[i] = std::min({replaced, diagonal + 1, costs[i - 1] + 1});
        }
    }
    return costs.back();
}

// A part of a name counts as one edit.
std::size_t distance(std::string_view word, std::string_view name) {
    const bool is_part = word.size() > 2 && name.find(word) != std::string_view::npos;
    return is_part ? 1 : edits_between(word, name);
}

} // namespace

std::string unknown(std::string_view what, std::string_view word,
                    const std::vector<std::string>& names) {
    const auto from_word = [word](std::string_view name) { return distance(word, name); };
    const auto nearest = std::ranges::min_element(names, {}, from_word);
    std::string text = "no such " + std::string{what} + ": " + std::string{word};
    if (nearest != names.end() && from_word(*nearest) <= 1 + word.size() / 4) {
        text += "; did you mean " + *nearest + "?";
    }
    return text;
}

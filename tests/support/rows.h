// Comparing lists of rows, so that a test that fails names the rows.
#pragma once

#include <algorithm>
#include <iterator>
#include <string>
#include <vector>

// The rows that only one of two lists has; empty when they have the same, in whatever order.
inline std::string rows_apart(std::vector<std::string> expected, std::vector<std::string> found) {
    std::ranges::sort(expected);
    std::ranges::sort(found);
    const auto only_in_first = [](const auto& first, const auto& second, const char* title) {
        std::vector<std::string> rows;
        std::ranges::set_difference(first, second, std::back_inserter(rows));
        std::string text;
        for (const std::string& row : rows) {
            text += title + row + "\n";
        }
        return text;
    };
    return only_in_first(expected, found, "missing: ") +
           only_in_first(found, expected, "unknown: ");
}

// Also the first row that is not in its place.
inline std::string rows_apart_in_order(const std::vector<std::string>& expected,
                                       const std::vector<std::string>& found) {
    const std::string apart = rows_apart(expected, found);
    const auto place = std::ranges::mismatch(expected, found);
    if (!apart.empty() || place.in2 == found.end()) {
        return apart;
    }
    return "out of order: " + *place.in2 + "\n";
}

// Several arguments in the data of one request.
#pragma once

#include <array>
#include <cstddef>

// Arguments of a request's data, separated by ",": references into the text. "\," stands for a
// comma inside an argument, and the first character of an argument never separates. The tenth
// argument holds all that is left.
inline constexpr std::size_t ARGUMENTS_MAX = 10;
struct argument_list {
    std::array<const char*, ARGUMENTS_MAX> arguments{};
    std::size_t count = 0;
};
[[nodiscard]] argument_list split_arg_list(char* text);

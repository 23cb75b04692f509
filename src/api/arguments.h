// Several arguments in the data of one request.
#pragma once

#include <array>
#include <cstddef>

// Arguments of a request's data, separated by ",": references into the text. "\," is a comma inside
// an argument; an argument's first character never separates. The tenth argument takes the rest.
inline constexpr std::size_t ARGUMENTS_MAX = 10;
struct argument_list {
    std::array<const char*, ARGUMENTS_MAX> arguments{};
    std::size_t count = 0;
};
[[nodiscard]] argument_list split_arg_list(char* text);

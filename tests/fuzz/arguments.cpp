// Fuzzes the splitting of argument lists.
#include "api/arguments.h"
#include "fuzz.h"

#include <cstring>

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    hush_log();
    std::string text = input_text(data, size);
    const argument_list list = split_arg_list(text.data());
    require(list.count >= 1 && list.count <= ARGUMENTS_MAX);
    // The arguments are consecutive NUL-terminated texts within the input.
    const char* at = text.data();
    for (std::size_t i = 0; i < list.count; ++i) {
        require(list.arguments.at(i) == at);
        at += std::strlen(at) + 1;
    }
    require(at <= text.data() + text.size() + 1);
    return 0;
}

// Several arguments in the data of one request.
#include "api/arguments.h"

#include "core/log.h"

#include <cstring>

argument_list split_arg_list(char* text) {
    argument_list list;
    list.arguments[list.count++] = text;
    char* at = *text == '\0' ? text : text + 1;
    while (*at != '\0') {
        if (*at != ',') {
            ++at;
        } else if (at[-1] == '\\') {
            // Moves the text one place left, over the backslash; `at` then points past the comma.
            std::memmove(at - 1, at, std::strlen(at) + 1);
        } else if (list.count == ARGUMENTS_MAX) {
            break;
        } else {
            *at++ = '\0';
            list.arguments.at(list.count++) = at;
            at += *at == '\0' ? 0 : 1;
        }
    }
    for (std::size_t i = 0; i < list.count; ++i) {
        log_message(LEVEL_DEBUG, "arg num %zu: %s", i, list.arguments.at(i));
    }
    return list;
}

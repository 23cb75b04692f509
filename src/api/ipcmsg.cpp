// Messages on the command socket: four fields, separated by colons.
#include "api/ipcmsg.h"

#include "core/log.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace {

constexpr char SEPARATOR = ':';
constexpr const char* SEPARATORS = ":";
// Number of fields before the data.
constexpr std::size_t TOKEN_COUNT = 3;

unsigned int length_of(const char* text) {
    return static_cast<unsigned int>(std::strlen(text));
}

const char* shown(const char* text) {
    return text == nullptr ? "(null)" : text;
}

// Splits off the fields before the data; `rest` then points at the data. Returns false if there are
// fewer.
bool take_tokens(char* text, std::array<char*, TOKEN_COUNT>& tokens, char*& rest) {
    unsigned int offset = 0;
    char* token = strtok_r(text, SEPARATORS, &rest);
    for (std::size_t i = 0; i < TOKEN_COUNT; ++i) {
        if (token == nullptr) {
            return false;
        }
        tokens.at(i) = token;
        const auto expected = static_cast<int>(TOKEN_COUNT - i);
        log_message(LEVEL_DEBUG, "token=%s, expected_separators=%d, totlen=%u", token, expected,
                    offset);
        offset += length_of(token) + 1;
        if (i + 1 < TOKEN_COUNT) {
            token = strtok_r(nullptr, SEPARATORS, &rest);
        }
        log_message(LEVEL_DEBUG, "token2=%s, totlen=%u", shown(token), offset);
    }
    return true;
}

} // namespace

int ipc_deserialize(char* text, ipc_msg& message) {
    std::array<char*, TOKEN_COUNT> tokens{};
    char* data = nullptr;
    if (!take_tokens(text, tokens, data)) {
        return -1;
    }
    log_message(LEVEL_DEBUG, "data_tokens[3]=%s", data);
    message = {
        .ctype = tokens[0][0],
        .cmd = tokens[1],
        .clen = length_of(tokens[1]),
        .dtype = tokens[2][0],
        .data = data,
        .dlen = length_of(data),
    };
    log_message(
        LEVEL_DEBUG, "deserialized package,\nctype=%c, cmd=%s, clen=%u\ndtype=%c, data=%s, dlen=%u",
        message.ctype, message.cmd, message.clen, message.dtype, message.data, message.dlen);
    const bool valid = message.ctype == 'c' && std::strchr("siln", message.dtype) != nullptr;
    return valid ? 0 : -1;
}

malloc_text ipc_serialize(const ipc_reply& reply) {
    const std::string_view command{shown(reply.cmd)};
    const std::string_view data{reply.data == nullptr ? "" : reply.data};
    constexpr std::size_t single_characters = 6; // two types, three separators, the terminator
    malloc_text text{
        static_cast<char*>(std::malloc(command.size() + data.size() + single_characters))};
    if (!text) {
        return nullptr;
    }
    // Not snprintf: a library behind some plug-ins registers its own printf conversion, which makes
    // every printf of the process slow.
    char* end = text.get();
    *end++ = reply.ctype;
    *end++ = SEPARATOR;
    end = std::ranges::copy(command, end).out;
    *end++ = SEPARATOR;
    *end++ = reply.dtype;
    *end++ = SEPARATOR;
    end = std::ranges::copy(data, end).out;
    *end = '\0';
    return text;
}

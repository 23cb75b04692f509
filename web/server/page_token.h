// The token that lets a page in: every user of this machine can reach its loopback, and a scene is
// code that runs as the board's owner.
#pragma once

#include <string>
#include <string_view>

namespace web {

// The board's token: 128 random bits as hexadecimal digits. It is kept in a file that only its
// owner may read, so that a page stays let in when the daemon starts again. A file that others may
// read, or that holds no token, is replaced. Where none can be kept, the token is new at each
// start.
[[nodiscard]] std::string board_token(const std::string& file);

// Whether a text is the token. The time that it takes doesn't tell where they differ.
[[nodiscard]] bool is_token(std::string_view text, std::string_view token);

// The value of a cookie in a request's header "Cookie"; empty without it.
[[nodiscard]] std::string_view cookie_in(std::string_view header, std::string_view name);

} // namespace web

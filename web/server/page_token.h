// The token that authorises a page: every user of this machine can reach its loopback, and a scene
// is code that runs as the board's owner.
#pragma once

#include <string>
#include <string_view>

namespace web {

// Returns the board's token: 128 random bits as hexadecimal digits. Kept in a file that only its
// owner may read, so that open pages stay authorised when the daemon restarts. Replaces a file that
// others may read, or that contains no token. If it can't be kept, every start makes a new token.
[[nodiscard]] std::string board_token(const std::string& file);

// True if the text is the token. Takes constant time.
[[nodiscard]] bool is_token(std::string_view text, std::string_view token);

// Returns the value of a cookie in a "Cookie" header; empty without it.
[[nodiscard]] std::string_view cookie_in(std::string_view header, std::string_view name);

} // namespace web

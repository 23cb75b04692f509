// Who may ask: only the page itself, in a browser of this machine. Any site can have a browser send
// requests to this machine, and any name can be made to stand for its address.
#pragma once

#include <string_view>

namespace web {

// What a browser says of a request; empty when it doesn't.
struct request_origin {
    std::string_view host;       // Host
    std::string_view origin;     // Origin
    std::string_view fetch_site; // Sec-Fetch-Site
    bool is_navigation = false;  // Sec-Fetch-Mode: a link is followed, and nothing sent
};

// True when the request was sent to a name of the loopback at that port, and neither comes from
// another origin nor embeds this one there. A link that leads here from elsewhere is followed.
[[nodiscard]] bool is_own_origin(const request_origin& from, unsigned port);

} // namespace web

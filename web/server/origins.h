// Accepts requests only from the page itself, in a browser of this machine. Any site can have a
// browser send requests to this machine, and any host name can be made to resolve to its address.
#pragma once

#include <string_view>

namespace web {

// Headers of a request that say where it comes from; empty when absent.
struct request_origin {
    std::string_view host;       // Host
    std::string_view origin;     // Origin
    std::string_view fetch_site; // Sec-Fetch-Site
    bool is_navigation = false;  // Sec-Fetch-Mode: a link is followed, and no body sent
};

// True when the request was sent to a name of the loopback at that port, and was not made or
// embedded by another origin. A link from elsewhere may be followed.
[[nodiscard]] bool is_own_origin(const request_origin& from, unsigned port);

} // namespace web

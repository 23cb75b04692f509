// Accepts requests only from the page itself, in a browser on this machine. Any site can make a
// browser send requests to this machine, and any host name can resolve to its address.
#pragma once

#include <string_view>

namespace web {

// A request's headers about its origin; empty if absent.
struct request_origin {
    std::string_view host;       // Host
    std::string_view origin;     // Origin
    std::string_view fetch_site; // Sec-Fetch-Site
    bool is_navigation = false;  // Sec-Fetch-Mode: a followed link, without a body
};

// True if the request was sent to a loopback name with that port and not made or embedded by
// another origin. Following a link from elsewhere is allowed.
[[nodiscard]] bool is_own_origin(const request_origin& from, unsigned port);

} // namespace web

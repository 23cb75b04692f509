// Accepts requests only from the page itself, in a browser on this machine.
#include "origins.h"

#include <algorithm>
#include <array>
#include <string>

namespace web {
namespace {

constexpr std::array<std::string_view, 2> loopback_names{"127.0.0.1", "localhost"};

constexpr std::string_view SCHEME = "http://";

// HTTP's default port, which addresses omit.
constexpr unsigned DEFAULT_PORT = 80;

bool is_loopback(std::string_view host, unsigned port) {
    const std::string ending = port == DEFAULT_PORT ? "" : ":" + std::to_string(port);
    return std::ranges::any_of(loopback_names, [&](std::string_view name) {
        return host.size() == name.size() + ending.size() && host.starts_with(name) &&
               host.ends_with(ending);
    });
}

bool is_from_here(std::string_view origin, std::string_view host) {
    return origin.starts_with(SCHEME) && origin.substr(SCHEME.size()) == host;
}

} // namespace

bool is_own_origin(const request_origin& from, unsigned port) {
    if (!is_loopback(from.host, port)) {
        return false;
    }
    if (!from.origin.empty() && !is_from_here(from.origin, from.host)) {
        return false;
    }
    return from.fetch_site.empty() || from.fetch_site == "same-origin" ||
           from.fetch_site == "none" || from.is_navigation;
}

} // namespace web

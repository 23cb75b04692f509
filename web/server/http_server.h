// The HTTP server: on loopback only, for the page only, with its token only.
#pragma once

#include "routes.h"

#include <memory>
#include <string>

namespace web {

class http_server {
public:
    // Requests must contain that token.
    http_server(services known, std::string token);
    http_server(const http_server&) = delete;
    http_server& operator=(const http_server&) = delete;
    ~http_server();

    // Binds the port on loopback and serves. Returns false, with the reason in `why`, on failure.
    [[nodiscard]] bool listen(unsigned port, std::string& why);
    // The page's address including the token.
    [[nodiscard]] std::string address() const;

    struct context;

private:
    const std::unique_ptr<context> context_;
};

} // namespace web

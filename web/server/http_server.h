// The HTTP server: on loopback only, for the page itself only, and with its token only.
#pragma once

#include "routes.h"

#include <memory>
#include <string>

namespace web {

class http_server {
public:
    // Requests must bring that token.
    http_server(services known, std::string token);
    http_server(const http_server&) = delete;
    http_server& operator=(const http_server&) = delete;
    ~http_server();

    // Takes the port of the loopback, and serves. False when it can't; `why` says why.
    [[nodiscard]] bool listen(unsigned port, std::string& why);
    // The page's address, with the token.
    [[nodiscard]] std::string address() const;

    struct context;

private:
    const std::unique_ptr<context> context_;
};

} // namespace web

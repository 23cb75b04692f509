// The server that browsers speak to: on loopback only, for the page itself only.
#pragma once

#include "board_place.h"
#include "front_door.h"
#include "soup_owned.h"

#include <functional>
#include <memory>
#include <string>

namespace web {

class web_server {
public:
    struct services {
        const board_place& board;
        const front_door& door;
        std::function<void(SoupWebsocketConnection*)> on_events_page;
        std::function<void(SoupWebsocketConnection*)> on_picture_page;
    };

    // `page` is the folder of the page's files.
    web_server(const std::string& page, services behind);
    web_server(const web_server&) = delete;
    web_server& operator=(const web_server&) = delete;
    ~web_server();

    // Takes the port of the loopback, and serves. False when it can't; `why` says why.
    [[nodiscard]] bool listen(unsigned port, std::string& why);
    [[nodiscard]] std::string address() const;
    // Gives the port back; pages that are there stay connected.
    void stop_listening();

    struct context;

private:
    const std::unique_ptr<context> context_;
};

} // namespace web

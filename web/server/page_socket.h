// A page's WebSocket with limits for incoming messages and the send queue.
#pragma once

#include "soup_owned.h"

#include <cstdint>
#include <memory>
#include <span>
#include <string>

namespace web {

class page_socket {
public:
    // Holds a reference to both: libsoup's connection doesn't expose its socket.
    page_socket(SoupWebsocketConnection* connection, GSocket* socket);
    page_socket(const page_socket&) = delete;
    page_socket& operator=(const page_socket&) = delete;

    // Sends nothing once the connection is closing. If too much is queued for a page that doesn't
    // read, drops the page: its connection ends soon after.
    void send(std::span<const std::string> texts);
    void send(const std::string& text) { send(std::span{&text, 1}); }
    void send(GBytes* picture);

    [[nodiscard]] SoupWebsocketConnection* connection() const { return connection_.get(); }

private:
    [[nodiscard]] bool takes_more();
    [[nodiscard]] std::int64_t waiting_bytes() const;
    [[nodiscard]] std::int64_t written_bytes() const;

    const soup_owned<SoupWebsocketConnection> connection_;
    const soup_owned<GSocket> socket_;
    std::int64_t handed_bytes_ = 0; // given to libsoup since the connection was made
    const std::int64_t written_before_;
};

} // namespace web

// The pages' WebSockets for state, lists, log and requests: JSON texts in both directions.
#pragma once

#include "loop.h"
#include "response.h"
#include "soup_owned.h"

#include <nlohmann/json.hpp>

#include <functional>
#include <memory>
#include <vector>

namespace web {

class event_clients {
public:
    struct callbacks {
        // The messages that a new client gets first.
        std::function<std::vector<nlohmann::json>()> greeting;
        // The first client has come, or the last one has gone.
        std::function<void(bool has_clients)> on_presence;
        std::function<void(const nlohmann::json& message, const response_callback&)> on_request;
    };

    explicit event_clients(callbacks told) : told_(std::move(told)) {}
    event_clients(const event_clients&) = delete;
    event_clients& operator=(const event_clients&) = delete;
    ~event_clients();

    // Serves this client until its connection closes.
    void add(SoupWebsocketConnection* connection);

    [[nodiscard]] bool has_clients() const { return !clients_.empty(); }

    // Sends to all clients. One that doesn't read is left out, and gets the greeting again when it
    // reads: what waits for it must not fill the memory.
    void broadcast(const nlohmann::json& message);

private:
    using shared_connection = std::shared_ptr<SoupWebsocketConnection>;

    struct client {
        shared_connection connection;
        bool is_behind = false;
    };

    static void on_message(SoupWebsocketConnection* connection, int type, GBytes* text,
                           gpointer self) noexcept;
    static void on_closed(SoupWebsocketConnection* connection, gpointer self) noexcept;
    void take_request(const shared_connection& from, const nlohmann::json& message);
    void greet(SoupWebsocketConnection* connection) const;
    void catch_up();

    const callbacks told_;
    std::vector<client> clients_;
    timer catch_up_;
};

} // namespace web

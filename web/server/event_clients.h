// The pages' WebSockets for state, lists, log and requests: JSON texts in both directions.
#pragma once

#include "page_socket.h"
#include "response.h"

#include <nlohmann/json.hpp>

#include <functional>
#include <memory>
#include <vector>

namespace web {

class event_clients {
public:
    struct callbacks {
        // Returns the first messages of a new client.
        std::function<std::vector<nlohmann::json>()> greeting;
        // Called when the first client connects and when the last one leaves.
        std::function<void(bool has_clients)> on_presence;
        std::function<void(const nlohmann::json& message, const response_callback&)> on_request;
    };

    explicit event_clients(callbacks told) : told_(std::move(told)) {}
    event_clients(const event_clients&) = delete;
    event_clients& operator=(const event_clients&) = delete;
    ~event_clients();

    // Serves this client until its connection closes.
    void add(std::unique_ptr<page_socket> socket);

    [[nodiscard]] bool has_clients() const { return !clients_.empty(); }

    // Sends to all clients; drops those that don't read.
    void broadcast(const nlohmann::json& message);

private:
    // Shared with pending responses.
    struct client {
        std::unique_ptr<page_socket> socket;
        unsigned requests = 0; // being executed
    };

    static void on_message(SoupWebsocketConnection* connection, int type, GBytes* text,
                           gpointer self) noexcept;
    static void on_closed(SoupWebsocketConnection* connection, gpointer self) noexcept;
    void take_request(const std::shared_ptr<client>& from, const nlohmann::json& message);

    const callbacks told_;
    std::vector<std::shared_ptr<client>> clients_;
};

} // namespace web

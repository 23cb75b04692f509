// The pages' WebSockets for state, lists, log and requests.
#include "event_clients.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <utility>

namespace web {
namespace {

// A log can contain bytes that are not UTF-8; JSON can't.
std::string text_of(const nlohmann::json& message) {
    return message.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

// Clients wait for responses; one that doesn't could start any number of processes.
constexpr unsigned REQUESTS_MAX = 4;

nlohmann::json response_to(const nlohmann::json& id, bool is_done, const std::string& text) {
    return {{"type", "response"}, {"id", id}, {"ok", is_done}, {"text", text}};
}

} // namespace

event_clients::~event_clients() {
    for (const auto& each : clients_) {
        g_signal_handlers_disconnect_by_data(each->socket->connection(), this);
    }
}

void event_clients::add(std::unique_ptr<page_socket> socket) {
    SoupWebsocketConnection* const connection = socket->connection();
    // Not yet in the list of clients, so the greeting is its first message.
    if (clients_.empty()) {
        told_.on_presence(true);
    }
    const auto& added = clients_.emplace_back(std::make_shared<client>(client{std::move(socket)}));
    g_signal_connect(connection, "message", G_CALLBACK(on_message), this);
    g_signal_connect(connection, "closed", G_CALLBACK(on_closed), this);
    std::vector<std::string> texts;
    std::ranges::transform(told_.greeting(), std::back_inserter(texts), text_of);
    added->socket->send(texts);
}

void event_clients::broadcast(const nlohmann::json& message) {
    if (clients_.empty()) {
        return;
    }
    const std::string text = text_of(message);
    for (const auto& each : clients_) {
        each->socket->send(text);
    }
}

void event_clients::on_message(SoupWebsocketConnection* connection, int type, GBytes* text,
                               gpointer self) noexcept {
    auto* const clients = static_cast<event_clients*>(self);
    const auto from = std::ranges::find_if(clients->clients_, [connection](const auto& each) {
        return each->socket->connection() == connection;
    });
    if (type != SOUP_WEBSOCKET_DATA_TEXT || from == clients->clients_.end()) {
        return;
    }
    gsize size = 0;
    const auto* const bytes = static_cast<const char*>(g_bytes_get_data(text, &size));
    const nlohmann::json message = nlohmann::json::parse(bytes, bytes + size, nullptr, false);
    if (message.is_object()) {
        clients->take_request(std::shared_ptr{*from}, message);
    }
}

void event_clients::take_request(const std::shared_ptr<client>& from,
                                 const nlohmann::json& message) {
    // Returned unchanged. Only numbers: anything else could be nested as deeply as the message is
    // long.
    const auto given = message.find("id");
    const bool is_number = given != message.end() && given->is_number_integer();
    const nlohmann::json id = is_number ? *given : nlohmann::json();
    if (from->requests >= REQUESTS_MAX) {
        from->socket->send(text_of(response_to(id, false, "too many requests at once")));
        return;
    }
    ++from->requests;
    told_.on_request(message, [from, id](bool is_done, const std::string& text) {
        --from->requests;
        from->socket->send(text_of(response_to(id, is_done, text)));
    });
}

void event_clients::on_closed(SoupWebsocketConnection* connection, gpointer self) noexcept {
    auto* const clients = static_cast<event_clients*>(self);
    g_signal_handlers_disconnect_by_data(connection, self);
    std::erase_if(clients->clients_, [connection](const auto& each) {
        return each->socket->connection() == connection;
    });
    if (clients->clients_.empty()) {
        clients->told_.on_presence(false);
    }
}

} // namespace web

// The pages' WebSockets for state, lists, log and requests.
#include "event_clients.h"

#include <algorithm>
#include <utility>

namespace web {
namespace {

// A log can hold bytes that are no text; JSON can't.
std::string text_of(const nlohmann::json& message) {
    return message.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

void send(SoupWebsocketConnection* connection, const std::string& text) {
    if (soup_websocket_connection_get_state(connection) == SOUP_WEBSOCKET_STATE_OPEN) {
        soup_websocket_connection_send_text(connection, text.c_str());
    }
}

// False when the other side has left so much unread that the system takes no more.
bool takes_more(SoupWebsocketConnection* connection) {
    GIOStream* const stream = soup_websocket_connection_get_io_stream(connection);
    GOutputStream* const output = g_io_stream_get_output_stream(stream);
    return g_pollable_output_stream_is_writable(G_POLLABLE_OUTPUT_STREAM(output)) != FALSE;
}

constexpr std::chrono::seconds CATCH_UP_INTERVAL{1};

} // namespace

event_clients::~event_clients() {
    for (const client& each : clients_) {
        g_signal_handlers_disconnect_by_data(each.connection.get(), this);
    }
}

void event_clients::add(SoupWebsocketConnection* connection) {
    // Before it is one of the clients: its greeting comes before all else.
    if (clients_.empty()) {
        told_.on_presence(true);
    }
    clients_.push_back({own_shared(connection)});
    g_signal_connect(connection, "message", G_CALLBACK(on_message), this);
    g_signal_connect(connection, "closed", G_CALLBACK(on_closed), this);
    greet(connection);
}

void event_clients::greet(SoupWebsocketConnection* connection) const {
    for (const nlohmann::json& message : told_.greeting()) {
        send(connection, text_of(message));
    }
}

void event_clients::broadcast(const nlohmann::json& message) {
    const std::string text = text_of(message);
    for (client& each : clients_) {
        each.is_behind = each.is_behind || !takes_more(each.connection.get());
        if (!each.is_behind) {
            send(each.connection.get(), text);
        } else if (!catch_up_.is_waiting()) {
            catch_up_.once(CATCH_UP_INTERVAL, [this] { catch_up(); });
        }
    }
}

void event_clients::catch_up() {
    for (client& each : clients_) {
        if (each.is_behind && takes_more(each.connection.get())) {
            each.is_behind = false;
            greet(each.connection.get());
        } else if (each.is_behind) {
            catch_up_.once(CATCH_UP_INTERVAL, [this] { catch_up(); });
        }
    }
}

void event_clients::on_message(SoupWebsocketConnection* connection, int type, GBytes* text,
                               gpointer self) noexcept {
    auto* const clients = static_cast<event_clients*>(self);
    const auto from = std::ranges::find_if(clients->clients_, [connection](const client& each) {
        return each.connection.get() == connection;
    });
    if (type != SOUP_WEBSOCKET_DATA_TEXT || from == clients->clients_.end()) {
        return;
    }
    gsize size = 0;
    const auto* const bytes = static_cast<const char*>(g_bytes_get_data(text, &size));
    const nlohmann::json message = nlohmann::json::parse(bytes, bytes + size, nullptr, false);
    if (message.is_object()) {
        clients->take_request(shared_connection{from->connection}, message);
    }
}

void event_clients::take_request(const shared_connection& from, const nlohmann::json& message) {
    // Sent back as it came. Only a number: anything else could be nested as deep as a message is
    // long.
    const auto given = message.find("id");
    const bool is_number = given != message.end() && given->is_number_integer();
    const nlohmann::json id = is_number ? *given : nlohmann::json();
    told_.on_request(message, [from, id](bool is_done, const std::string& text) {
        send(from.get(),
             text_of({{"type", "response"}, {"id", id}, {"ok", is_done}, {"text", text}}));
    });
}

void event_clients::on_closed(SoupWebsocketConnection* connection, gpointer self) noexcept {
    auto* const clients = static_cast<event_clients*>(self);
    g_signal_handlers_disconnect_by_data(connection, self);
    std::erase_if(clients->clients_,
                  [connection](const client& each) { return each.connection.get() == connection; });
    if (clients->clients_.empty()) {
        clients->told_.on_presence(false);
    }
}

} // namespace web

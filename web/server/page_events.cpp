// The pages' connections for state, lists, log and acts.
#include "page_events.h"

#include <algorithm>
#include <utility>

namespace web {
namespace {

// A log can hold bytes that are no text; JSON can't.
std::string text_of(const nlohmann::json& message) {
    return message.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

void send(SoupWebsocketConnection* page, const std::string& text) {
    if (soup_websocket_connection_get_state(page) == SOUP_WEBSOCKET_STATE_OPEN) {
        soup_websocket_connection_send_text(page, text.c_str());
    }
}

// False when the other side has left so much unread that the system takes no more.
bool takes_more(SoupWebsocketConnection* page) {
    GIOStream* const stream = soup_websocket_connection_get_io_stream(page);
    GOutputStream* const output = g_io_stream_get_output_stream(stream);
    return g_pollable_output_stream_is_writable(G_POLLABLE_OUTPUT_STREAM(output)) != FALSE;
}

constexpr std::chrono::seconds catch_up_interval{1};

} // namespace

page_events::~page_events() {
    for (const audience& each : pages_) {
        g_signal_handlers_disconnect_by_data(each.connection.get(), this);
    }
}

void page_events::add(SoupWebsocketConnection* page) {
    // Before it is one of the pages: its greeting comes before all else.
    if (pages_.empty()) {
        told_.on_audience(true);
    }
    pages_.push_back({own_shared(page)});
    g_signal_connect(page, "message", G_CALLBACK(on_message), this);
    g_signal_connect(page, "closed", G_CALLBACK(on_closed), this);
    greet(page);
}

void page_events::greet(SoupWebsocketConnection* page) const {
    for (const nlohmann::json& message : told_.greet()) {
        send(page, text_of(message));
    }
}

void page_events::tell(const nlohmann::json& message) {
    const std::string text = text_of(message);
    for (audience& each : pages_) {
        each.is_behind = each.is_behind || !takes_more(each.connection.get());
        if (!each.is_behind) {
            send(each.connection.get(), text);
        } else if (!catch_up_.is_waiting()) {
            catch_up_.once(catch_up_interval, [this] { catch_up(); });
        }
    }
}

void page_events::catch_up() {
    for (audience& each : pages_) {
        if (each.is_behind && takes_more(each.connection.get())) {
            each.is_behind = false;
            greet(each.connection.get());
        } else if (each.is_behind) {
            catch_up_.once(catch_up_interval, [this] { catch_up(); });
        }
    }
}

void page_events::on_message(SoupWebsocketConnection* page, int type, GBytes* text,
                             gpointer self) noexcept {
    auto* const events = static_cast<page_events*>(self);
    const auto known = std::ranges::find_if(
        events->pages_, [page](const audience& each) { return each.connection.get() == page; });
    if (type != SOUP_WEBSOCKET_DATA_TEXT || known == events->pages_.end()) {
        return;
    }
    gsize size = 0;
    const auto* const bytes = static_cast<const char*>(g_bytes_get_data(text, &size));
    const nlohmann::json message = nlohmann::json::parse(bytes, bytes + size, nullptr, false);
    if (message.is_object()) {
        events->take(page_owner{known->connection}, message);
    }
}

void page_events::take(const page_owner& page, const nlohmann::json& message) {
    // Given back as it came; anything but a number could be as deep as a message is long.
    const auto given = message.find("id");
    const bool is_number = given != message.end() && given->is_number_integer();
    const nlohmann::json id = is_number ? *given : nlohmann::json();
    told_.perform(message, [page, id](bool is_done, const std::string& text) {
        send(page.get(),
             text_of({{"type", "answer"}, {"id", id}, {"ok", is_done}, {"text", text}}));
    });
}

void page_events::on_closed(SoupWebsocketConnection* page, gpointer self) noexcept {
    auto* const events = static_cast<page_events*>(self);
    g_signal_handlers_disconnect_by_data(page, self);
    std::erase_if(events->pages_,
                  [page](const audience& each) { return each.connection.get() == page; });
    if (events->pages_.empty()) {
        events->told_.on_audience(false);
    }
}

} // namespace web

// Live pictures of the panel for the pages.
#include "panel_stream.h"

#include <algorithm>
#include <utility>

namespace web {

struct panel_stream::viewer {
    std::unique_ptr<page_socket> socket;
    std::uint64_t seen = 0; // serial of the last picture sent
    bool is_waiting = false;
};

panel_stream::panel_stream(std::string devices)
    : devices_(std::move(devices)),
      encoder_(devices_ + "/fb0", [this](g_owned<GBytes> picture) { take(std::move(picture)); }) {}

panel_stream::~panel_stream() {
    for (const viewer& each : viewers_) {
        g_signal_handlers_disconnect_by_data(each.socket->connection(), this);
    }
}

void panel_stream::add(std::unique_ptr<page_socket> socket) {
    SoupWebsocketConnection* const page = socket->connection();
    viewers_.push_back({std::move(socket)});
    g_signal_connect(page, "message", G_CALLBACK(on_message), this);
    g_signal_connect(page, "closed", G_CALLBACK(on_closed), this);
    if (watch_) {
        return;
    }
    ++serial_; // the last picture may be old
    watch_.emplace(
        [this](const std::string& /*folder*/, const std::string& name) {
            if (name == "fb0") {
                ++serial_;
                show_those_who_wait();
            }
        },
        touches::told);
    watch_->add(devices_);
}

void panel_stream::on_message(SoupWebsocketConnection* page, int /*type*/, GBytes* /*text*/,
                              gpointer self) noexcept {
    auto* const stream = static_cast<panel_stream*>(self);
    for (viewer& each : stream->viewers_) {
        each.is_waiting = each.is_waiting || each.socket->connection() == page;
    }
    stream->show_those_who_wait();
}

void panel_stream::on_closed(SoupWebsocketConnection* page, gpointer self) noexcept {
    auto* const stream = static_cast<panel_stream*>(self);
    g_signal_handlers_disconnect_by_data(page, self);
    std::erase_if(stream->viewers_,
                  [page](const viewer& each) { return each.socket->connection() == page; });
    if (stream->viewers_.empty()) {
        stream->watch_.reset();
    }
}

void panel_stream::show_those_who_wait() {
    bool is_newer_wanted = false;
    for (viewer& each : viewers_) {
        if (each.is_waiting && each.seen < encoded_serial_) {
            each.is_waiting = false;
            each.seen = encoded_serial_;
            each.socket->send(encoded_.get());
        }
        is_newer_wanted = is_newer_wanted || (each.is_waiting && encoded_serial_ < serial_);
    }
    if (is_newer_wanted && !encoder_.is_busy()) {
        encoding_serial_ = serial_;
        encoder_.start();
    }
}

// Encoded once for all viewers. A panel without a complete picture will be written again.
void panel_stream::take(g_owned<GBytes> picture) {
    if (picture) {
        encoded_ = std::move(picture);
        encoded_serial_ = encoding_serial_;
        show_those_who_wait();
    }
}

} // namespace web

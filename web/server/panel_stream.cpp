// Live pictures of the panel for the pages.
#include "panel_stream.h"

#include "panel_reader.h"

#include <algorithm>
#include <turbojpeg.h>
#include <utility>

namespace web {
namespace {

// Keeps fine reticle lines clean, at about 150 kB a picture.
constexpr int JPEG_QUALITY = 85;

struct jpeg_release {
    void operator()(void* compressor) const noexcept { tjDestroy(compressor); }
    void operator()(unsigned char* picture) const noexcept { tjFree(picture); }
};

g_owned<GBytes> encode(const std::vector<std::uint8_t>& pixels) {
    static void* const compressor = tjInitCompress(); // never destroyed
    unsigned char* picture = nullptr;
    unsigned long size = 0;
    const int status =
        tjCompress2(compressor, pixels.data(), sim::PANEL_WIDTH, 0, sim::PANEL_HEIGHT, TJPF_BGRX,
                    &picture, &size, TJSAMP_444, JPEG_QUALITY, TJFLAG_FASTDCT);
    const std::unique_ptr<unsigned char, jpeg_release> owner(picture);
    return g_owned<GBytes>(status == 0 ? g_bytes_new(picture, size) : nullptr);
}

} // namespace

struct panel_stream::viewer {
    std::unique_ptr<page_socket> socket;
    std::uint64_t seen = 0; // serial of the last picture sent
    bool is_waiting = false;
};

panel_stream::panel_stream(std::string devices)
    : devices_(std::move(devices)), panel_(devices_ + "/fb0"), pixels_(sim::PANEL_BYTES) {}

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
    for (viewer& each : viewers_) {
        if (each.is_waiting && each.seen != serial_ && picture() != nullptr) {
            each.is_waiting = false;
            each.seen = serial_;
            each.socket->send(picture());
        }
    }
}

// Borrowed; encoded once for all viewers. None if the panel has no complete picture.
GBytes* panel_stream::picture() {
    if (encoded_serial_ != serial_ && read_panel(panel_.c_str(), pixels_)) {
        encoded_ = encode(pixels_);
        encoded_serial_ = serial_;
    }
    return encoded_serial_ == serial_ ? encoded_.get() : nullptr;
}

} // namespace web

// A page's WebSocket with limits for incoming messages and the send queue.
#include "page_socket.h"

#include <linux/sockios.h>
#include <linux/tcp.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

namespace web {
namespace {

constexpr guint64 MESSAGE_BYTES_MAX = 64 * 1024;
constexpr std::int64_t WAITING_BYTES_MAX = 1024 * 1024;

// Size of a frame by RFC 6455: server messages are single, unmasked frames.
std::int64_t frame_bytes(std::size_t payload) {
    const std::size_t head = payload < 126 ? 2 : payload < 65536 ? 4 : 10;
    return static_cast<std::int64_t>(head + payload);
}

} // namespace

page_socket::page_socket(SoupWebsocketConnection* connection, GSocket* socket)
    : connection_(own_shared(connection)), socket_(own_shared(socket)),
      written_before_(written_bytes()) {
    soup_websocket_connection_set_max_incoming_payload_size(connection, MESSAGE_BYTES_MAX);
}

void page_socket::send(std::span<const std::string> texts) {
    if (!takes_more()) {
        return;
    }
    for (const std::string& text : texts) {
        handed_bytes_ += frame_bytes(text.size());
        soup_websocket_connection_send_text(connection_.get(), text.c_str());
    }
}

void page_socket::send(GBytes* picture) {
    if (takes_more()) {
        handed_bytes_ += frame_bytes(g_bytes_get_size(picture));
        soup_websocket_connection_send_message(connection_.get(), SOUP_WEBSOCKET_DATA_BINARY,
                                               picture);
    }
}

// A page that doesn't read wouldn't read a closing handshake either. Shutting the socket down ends
// it through the main loop, so no list changes during iteration.
bool page_socket::takes_more() {
    if (soup_websocket_connection_get_state(connection_.get()) != SOUP_WEBSOCKET_STATE_OPEN) {
        return false;
    }
    if (waiting_bytes() > WAITING_BYTES_MAX) {
        shutdown(g_socket_get_fd(socket_.get()), SHUT_RDWR);
        return false;
    }
    return true;
}

// libsoup doesn't tell its queue length: what it got minus what it has written.
std::int64_t page_socket::waiting_bytes() const {
    return handed_bytes_ - (written_bytes() - written_before_);
}

// Total written: acknowledged plus in flight.
std::int64_t page_socket::written_bytes() const {
    tcp_info info{};
    socklen_t size = sizeof info;
    int on_its_way = 0;
    const int descriptor = g_socket_get_fd(socket_.get());
    getsockopt(descriptor, IPPROTO_TCP, TCP_INFO, &info, &size);
    ioctl(descriptor, SIOCOUTQ, &on_its_way);
    return static_cast<std::int64_t>(info.tcpi_bytes_acked) + on_its_way;
}

} // namespace web

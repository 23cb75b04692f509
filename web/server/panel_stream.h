// Live pictures of the panel for the pages: one JPEG for each request, as soon as there is a new
// picture.
#pragma once

#include "loop.h"
#include "page_socket.h"
#include "panel_encoder.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace web {

class panel_stream {
public:
    // `devices` is the board's dev folder, which contains the panel's file.
    explicit panel_stream(std::string devices);
    panel_stream(const panel_stream&) = delete;
    panel_stream& operator=(const panel_stream&) = delete;
    ~panel_stream();

    // Serves this client until its connection closes. Each message from it requests one picture
    // newer than the last one sent.
    void add(std::unique_ptr<page_socket> socket);

private:
    struct viewer;

    static void on_message(SoupWebsocketConnection* page, int type, GBytes* text,
                           gpointer self) noexcept;
    static void on_closed(SoupWebsocketConnection* page, gpointer self) noexcept;
    void show_those_who_wait();
    void take(g_owned<GBytes> picture);

    const std::string devices_;
    std::uint64_t serial_ = 1;          // of the current picture
    std::uint64_t encoded_serial_ = 0;  // of `encoded_`
    std::uint64_t encoding_serial_ = 0; // of the picture that the encoder works on
    g_owned<GBytes> encoded_;
    std::vector<viewer> viewers_;
    panel_encoder encoder_;
    std::optional<file_watch> watch_; // while there are viewers
};

} // namespace web

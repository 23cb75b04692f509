// Owners for what GLib and libsoup hand out: each releases it with the call that fits its type.
#pragma once

#include <libsoup/soup.h>

#include <memory>

namespace sim {

struct glib_release {
    void operator()(GBytes* bytes) const noexcept { g_bytes_unref(bytes); }
    void operator()(GError* error) const noexcept { g_error_free(error); }
    void operator()(GMainLoop* loop) const noexcept { g_main_loop_unref(loop); }
    void operator()(GSubprocess* process) const noexcept { g_object_unref(process); }
    void operator()(SoupServer* server) const noexcept { g_object_unref(server); }
    void operator()(SoupWebsocketConnection* connection) const noexcept {
        g_object_unref(connection);
    }
    void operator()(gchar* text) const noexcept { g_free(text); }
};

// One counted reference (or one allocation); empty means "none".
template <typename T> using glib_owner = std::unique_ptr<T, glib_release>;

// Gives an object to a request, with which it goes; under that key it is found again.
template <typename T>
T* give_to_request(SoupServerMessage* request, const char* key, std::unique_ptr<T> object) {
    const auto drop = [](gpointer data) noexcept {
        std::default_delete<T>()(static_cast<T*>(data));
    };
    T* const given = object.release();
    g_object_set_data_full(G_OBJECT(request), key, given, drop);
    return given;
}

} // namespace sim

// Owners for objects of libsoup and GIO; those for GLib's own types are in util/glib_owned.h.
#pragma once

#include "util/glib_owned.h"

#include <libsoup/soup.h>

#include <memory>

namespace web {

// Releases each type with the matching call.
struct soup_release {
    void operator()(GSocket* socket) const noexcept { g_object_unref(socket); }
    void operator()(GSubprocess* process) const noexcept { g_object_unref(process); }
    void operator()(SoupServer* server) const noexcept { g_object_unref(server); }
    void operator()(SoupServerMessage* request) const noexcept { g_object_unref(request); }
    void operator()(SoupWebsocketConnection* connection) const noexcept {
        g_object_unref(connection);
    }
};

// One counted reference; empty means none.
template <typename T> using soup_owned = std::unique_ptr<T, soup_release>;

// Adds a reference to a borrowed object.
template <typename T> [[nodiscard]] soup_owned<T> own_shared(T* object) {
    return soup_owned<T>{static_cast<T*>(g_object_ref(object))};
}

// Attaches an object to a request under that key; it is released with the request.
template <typename T>
T* give_to_request(SoupServerMessage* request, const char* key, std::unique_ptr<T> object) {
    const auto drop = [](gpointer data) noexcept {
        std::default_delete<T>()(static_cast<T*>(data));
    };
    T* const given = object.release();
    g_object_set_data_full(G_OBJECT(request), key, given, drop);
    return given;
}

} // namespace web

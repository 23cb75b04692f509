// Owners for GLib's objects and allocations. Header only: code that doesn't include it doesn't need
// GLib.
#pragma once

#include <glib-object.h>
#include <memory>

// Releases each type with the matching call.
struct g_release {
    void operator()(char* text) const noexcept { g_free(text); }
    void operator()(char** texts) const noexcept { g_strfreev(texts); }
    void operator()(GBytes* bytes) const noexcept { g_bytes_unref(bytes); }
    void operator()(GError* error) const noexcept { g_error_free(error); }
    void operator()(GMainLoop* loop) const noexcept { g_main_loop_unref(loop); }
};

// One counted reference or one allocation; empty means none.
template <class T> using g_owned = std::unique_ptr<T, g_release>;
using g_text = g_owned<char>;
using g_error_owned = g_owned<GError>;

// A GValue, unset at the end of its scope.
class g_value {
public:
    g_value() = default;
    explicit g_value(GType type) { g_value_init(&value_, type); }
    g_value(const g_value&) = delete;
    g_value& operator=(const g_value&) = delete;
    ~g_value() { g_value_unset(&value_); }
    [[nodiscard]] GValue* get() { return &value_; }

private:
    GValue value_ = G_VALUE_INIT;
};

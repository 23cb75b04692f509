// Helpers for the class set-up of stand-in elements.
#pragma once

#include "util/gst_owned.h"

#include <string>

namespace sim {

inline constexpr auto property_flags =
    static_cast<GParamFlags>(G_PARAM_READWRITE | G_PARAM_STATIC_STRINGS);

// Returns the text of a string property; null becomes empty.
inline std::string text_of(const GValue* value) {
    const char* const text = g_value_get_string(value);
    return text != nullptr ? text : "";
}

inline void describe(GstElementClass* klass, const char* name, const char* kind, const char* text) {
    gst_element_class_set_static_metadata(klass, name, kind, text, "vtrdc");
}

// Adds an always pad with the name that base classes expect ("src" or "sink").
inline void add_pad(GstElementClass* klass, GstPadDirection direction, const char* caps_text) {
    const gst_owned<GstCaps> caps{gst_caps_from_string(caps_text)};
    const char* name = direction == GST_PAD_SRC ? "src" : "sink";
    gst_element_class_add_pad_template(
        klass, gst_pad_template_new(name, direction, GST_PAD_ALWAYS, caps.get()));
}

// A logging category named like the element's factory.
inline GstDebugCategory* debug_category(const char* name) {
    return _gst_debug_category_new(name, 0, nullptr);
}

} // namespace sim

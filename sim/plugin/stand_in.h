// Registers stand-ins, except those that other plug-ins replace: the names that "scripts/sim
// --elements" puts into the environment.
#pragma once

#include <gst/gst.h>

#include <cstdlib>
#include <sstream>
#include <string>

namespace sim {

inline constexpr const char* REPLACED_VARIABLE = "VTRDC_SIM_WITHOUT"; // names between white space

[[nodiscard]] inline bool is_replaced(const std::string& element) {
    const char* const list = secure_getenv(REPLACED_VARIABLE);
    std::istringstream names{list != nullptr ? list : ""};
    for (std::string name; names >> name;) {
        if (name == element) {
            return true;
        }
    }
    return false;
}

// Call in plugin_init. The registry reloads the plug-in whenever the list changes.
[[nodiscard]] inline bool register_stand_in(GstPlugin* plugin, const char* element, guint rank,
                                            GType type) {
    gst_plugin_add_dependency_simple(plugin, REPLACED_VARIABLE, nullptr, nullptr,
                                     GST_PLUGIN_DEPENDENCY_FLAG_NONE);
    return is_replaced(element) || gst_element_register(plugin, element, rank, type) != FALSE;
}

} // namespace sim

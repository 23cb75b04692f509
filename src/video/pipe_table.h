// Pipes as constant tables: chains of elements with their properties.
//
// A new element or property of a pipe is one new row in its chain.
#pragma once

#include "video/handles.h"
#include "video/settings.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <span>
#include <string_view>
#include <variant>

// Arguments from start operations to the chains of their pipes. The defaults are used for a
// client's create_pipe: the sight's own scene and picture.
struct start_arguments {
    const char* overlay_file = DEFAULT_OVERLAY_FILE;
    const char* image = NO_INPUT_IMAGE;
    const char* location_pattern = nullptr; // of recording files
    const char* url = nullptr;
    int port = 0;
};

struct element_row {
    const char* factory = nullptr;
    const char* name = nullptr;
    element_handle handle = element_handle::none;
    // The pipe has this element only while the setting is not 0; null: always.
    std::int32_t video_config::*wanted_by = nullptr;
    // If false, the pipe works without the element when it can't be made.
    bool required = true;
    // Maximum number of clients of a server sink; 0: no limit.
    unsigned int viewers_max = 0;
    // Not added or linked: it becomes a property of another element.
    bool inside_another = false;
};

// Text that is converted to caps.
struct caps_text {
    const char* text;
};
// An absolute path on the sight, constant or given at the start; gets the system root prepended.
struct board_path {
    const char* text;
};
struct given_path {
    const char* start_arguments::*argument;
};
// As given_path, for a pattern: only its last "%" is a conversion; "%" in folder names is literal.
struct given_pattern {
    const char* start_arguments::*argument;
};
// Another element of the same chain.
struct element_named {
    std::string_view name;
};

// Numbers are converted to the property's type, including enumerations.
using property_value = std::variant<bool, int, const char*, caps_text, board_path, given_path,
                                    given_pattern, element_named, const char * start_arguments::*,
                                    int start_arguments::*, std::int32_t video_config::*,
                                    std::int64_t video_config::*, double video_config::*>;

struct property_row {
    std::string_view element; // name of an element of the chain
    const char* property = nullptr;
    property_value value;
    // Skipped if the element's version lacks the property.
    bool is_optional = false;
};

// Concatenates groups of rows.
template <class Row, std::size_t... Sizes>
constexpr auto join_rows(const std::array<Row, Sizes>&... groups) {
    std::array<Row, (Sizes + ...)> rows{};
    auto next = rows.begin();
    ((next = std::copy(groups.begin(), groups.end(), next)), ...);
    return rows;
}

// Elements that are linked one after the other.
struct element_chain {
    std::span<const element_row> elements;           // in adding and linking order
    std::span<const std::string_view> creation = {}; // creation order by name; empty: linking order
    std::span<const property_row> properties;        // in the order they are set
    const char* create_failed = nullptr;             // ERROR text
    const char* link_failed = nullptr;               // ERROR text; null for a single element
};

// Maximum number of elements in a chain.
inline constexpr std::size_t CHAIN_ELEMENTS_MAX = 16;

constexpr bool has_element(const element_chain& chain, std::string_view name) {
    return std::ranges::any_of(chain.elements,
                               [name](const element_row& row) { return name == row.name; });
}

// True when every name in the creation order and in the properties is an element of the chain.
constexpr bool is_sound(const element_chain& chain) {
    const auto is_there = [&chain](std::string_view name) { return has_element(chain, name); };
    const auto is_set = [&is_there](const property_row& row) {
        const auto* const other = std::get_if<element_named>(&row.value);
        return is_there(row.element) && (other == nullptr || is_there(other->name));
    };
    const auto is_linked = [](const element_row& row) { return !row.inside_another; };
    const bool has_links = std::ranges::count_if(chain.elements, is_linked) > 1;
    return has_links == (chain.link_failed != nullptr) &&
           std::ranges::all_of(chain.creation, is_there) &&
           std::ranges::all_of(chain.properties, is_set) &&
           (chain.creation.empty() || chain.creation.size() == chain.elements.size()) &&
           chain.elements.size() <= CHAIN_ELEMENTS_MAX;
}

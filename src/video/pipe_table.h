// What a pipe consists of, as constants: a chain of elements with their properties.
//
// A new element or property of a pipe is a row in its chain; nothing else changes.
#pragma once

#include "video/handles.h"
#include "video/settings.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <span>
#include <string_view>
#include <variant>

// What start operations hand to the chains of their pipes. The defaults are what a client's
// create_pipe takes: the sight's own scene and picture.
struct start_arguments {
    const char* overlay_file = DEFAULT_OVERLAY_FILE;
    const char* image = NO_INPUT_IMAGE;
    const char* location_pattern = nullptr; // of recorded files
    const char* url = nullptr;
    int port = 0;
};

struct element_row {
    const char* factory = nullptr;
    const char* name = nullptr;
    element_handle handle = element_handle::none;
    // The pipe has this element only while the setting is not 0; null: always.
    std::int32_t video_config::*wanted_by = nullptr;
    // A pipe does without an element that can't be made, unless it is required.
    bool required = true;
    // Most clients that a server sink keeps; 0: no limit.
    unsigned int viewers_max = 0;
    // Not added to the pipe and not linked: it is a property of another element.
    bool inside_another = false;
};

// A caps text, turned into caps.
struct caps_text {
    const char* text;
};
// An absolute path on the sight, fixed or given at the start; the system root is put in front.
struct board_path {
    const char* text;
};
struct given_path {
    const char* start_arguments::*argument;
};
// As given_path, a pattern whose last "%" alone stands for a number; those of folders are
// characters.
struct given_pattern {
    const char* start_arguments::*argument;
};
// Another element of the chain.
struct element_named {
    std::string_view name;
};

// Numbers are converted to the property's own type, enumerations included.
using property_value = std::variant<bool, int, const char*, caps_text, board_path, given_path,
                                    given_pattern, element_named, const char * start_arguments::*,
                                    int start_arguments::*, std::int32_t video_config::*,
                                    std::int64_t video_config::*, double video_config::*>;

struct property_row {
    std::string_view element; // name of one of the chain's elements
    const char* property = nullptr;
    property_value value;
    // Passed over where the element is of a version that lacks the property.
    bool is_optional = false;
};

// Groups of rows one after the other.
template <class Row, std::size_t... Sizes>
constexpr auto join_rows(const std::array<Row, Sizes>&... groups) {
    std::array<Row, (Sizes + ...)> rows{};
    auto next = rows.begin();
    ((next = std::copy(groups.begin(), groups.end(), next)), ...);
    return rows;
}

// Elements that are linked in a row.
struct element_chain {
    std::span<const element_row> elements;           // in adding and linking order
    std::span<const std::string_view> creation = {}; // names in creation order; empty: as linked
    std::span<const property_row> properties;        // in the order they are set
    const char* create_failed = nullptr;             // ERROR text
    const char* link_failed = nullptr; // ERROR text; null: a single element is linked to none
};

// Most elements a chain may have.
inline constexpr std::size_t CHAIN_ELEMENTS_MAX = 16;

constexpr bool has_element(const element_chain& chain, std::string_view name) {
    return std::ranges::any_of(chain.elements,
                               [name](const element_row& row) { return name == row.name; });
}

// True when every name in the chain's creation order and properties is one of its elements.
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

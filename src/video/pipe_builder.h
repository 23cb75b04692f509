// Builds a linear pipe from a table: its elements, their properties, what they are linked to.
//
// A new element or property of a pipe is a row in the pipe's table; nothing else changes.
#pragma once

#include "video/handles.h"
#include "video/video_config.h"

#include <cstdint>
#include <span>
#include <string_view>
#include <variant>

struct element_row {
    const char* factory;
    const char* name;
    element_handle handle = element_handle::none;
    // Tells whether the pipe has this element now; null: always.
    bool (*wanted)() = nullptr;
    // A pipe does without an element that can't be made, unless it is required.
    bool required = true;
};

// A caps text, turned into caps.
struct caps_text {
    const char* text;
};
// An absolute path on the sight; the system root is put in front.
struct board_path {
    const char* text;
};
// The path given as the argument of that number when the pipe is started; as board_path.
struct path_argument {
    std::size_t number;
};

// Numbers are converted to the property's own type, enumerations included.
using property_value = std::variant<bool, int, const char*, caps_text, board_path, path_argument,
                                    std::int32_t video_config::*, double video_config::*>;

struct property_row {
    std::string_view element; // name of one of the pipe's elements
    const char* property;
    property_value value;
};

struct pipe_table {
    std::span<const element_row> elements;      // in adding and linking order
    std::span<const std::string_view> creation; // names in creation order; empty: as linked
    std::span<const property_row> properties;   // in the order they are set
    const char* create_failed;                  // ERROR text
    const char* link_failed;                    // ERROR text
    const char* playing;                        // INFO text, before ", rc = %d"
};

// Most elements a pipe may have.
inline constexpr std::size_t PIPE_ELEMENTS_MAX = 16;

// True when every name in the table's creation order and properties is one of its elements: for
// static_assert beside each table.
constexpr bool pipe_table_is_sound(const pipe_table& table) {
    const auto names_element = [&table](std::string_view name) {
        for (const element_row& row : table.elements) {
            if (name == row.name) {
                return true;
            }
        }
        return false;
    };
    for (const std::string_view name : table.creation) {
        if (!names_element(name)) {
            return false;
        }
    }
    for (const property_row& row : table.properties) {
        if (!names_element(row.element)) {
            return false;
        }
    }
    return table.elements.size() <= PIPE_ELEMENTS_MAX &&
           (table.creation.empty() || table.creation.size() == table.elements.size());
}

// Fills the empty pipeline and sets it playing. 0; -1 after an ERROR line, which ends the process.
[[nodiscard]] int build_pipe(GstElement* pipeline, const pipe_table& table,
                             std::span<const char* const> path_arguments);

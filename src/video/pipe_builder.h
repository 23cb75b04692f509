// Builds a linear pipe from a table: its elements, their properties, what they are linked to.
//
// A new element or property of a pipe is a row in the pipe's table; nothing else changes.
#pragma once

#include "video/handles.h"
#include "video/video_config.h"

#include <algorithm>
#include <array>
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
    // Not added to the pipe and not linked: it goes into another element, as that one's property.
    bool inside_another = false;
};

// A caps text, turned into caps.
struct caps_text {
    const char* text;
};
// An absolute path on the sight; the system root is put in front.
struct board_path {
    const char* text;
};
// Another element of the pipe.
struct element_named {
    std::string_view name;
};
// What was given in that place when the pipe was started.
struct argument {
    std::size_t number;
};
// As argument, a text that is a path; as board_path.
struct path_argument {
    std::size_t number;
};

// Numbers are converted to the property's own type, enumerations included.
using property_value = std::variant<bool, int, const char*, caps_text, board_path, element_named,
                                    argument, path_argument, std::int32_t video_config::*,
                                    std::int64_t video_config::*, double video_config::*>;

// What a start operation hands to its pipe's table.
using pipe_argument = std::variant<const char*, int>;

struct property_row {
    std::string_view element; // name of one of the pipe's elements
    const char* property = nullptr;
    property_value value;
};

// Groups of rows one after the other.
template <std::size_t... Sizes>
constexpr auto join_rows(const std::array<property_row, Sizes>&... groups) {
    std::array<property_row, (Sizes + ...)> rows{};
    auto next = rows.begin();
    ((next = std::copy(groups.begin(), groups.end(), next)), ...);
    return rows;
}

struct pipe_table {
    std::span<const element_row> elements;      // in adding and linking order
    std::span<const std::string_view> creation; // names in creation order; empty: as linked
    std::span<const property_row> properties;   // in the order they are set
    const char* create_failed;                  // ERROR text
    const char* link_failed;                    // ERROR text
    // INFO text before ", rc = %d" when set playing; null: the change of state is logged instead.
    const char* playing = nullptr;
    // INFO text when building begins; null: none.
    const char* creating = nullptr;
    // Called before the elements are made; null: nothing.
    void (*preparing)() = nullptr;
    // Called when all elements are in place, before they are linked; null: nothing.
    void (*before_linking)() = nullptr;
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
        const auto* const other = std::get_if<element_named>(&row.value);
        if (!names_element(row.element) || (other != nullptr && !names_element(other->name))) {
            return false;
        }
    }
    return table.elements.size() <= PIPE_ELEMENTS_MAX &&
           (table.creation.empty() || table.creation.size() == table.elements.size());
}

// Makes the table's elements in the pipeline and links them in a row. 0; -1 after an ERROR line,
// which ends the process.
[[nodiscard]] int build_elements(GstElement* pipeline, const pipe_table& table,
                                 std::span<const pipe_argument> arguments = {});

// build_elements in an empty pipeline, which is then set playing.
[[nodiscard]] int build_pipe(GstElement* pipeline, const pipe_table& table,
                             std::span<const pipe_argument> arguments = {});

// Builds a linear pipe from a table: its elements, their properties, what they are linked to.
#include "video/pipe_builder.h"

#include "core/log.h"
#include "util/sysroot.h"

#include <array>

namespace {

// The elements of a pipe under construction, by their place in the table; one that the pipe does
// not have now stays empty.
using element_list = std::array<gst_owned<GstElement>, PIPE_ELEMENTS_MAX>;

std::size_t index_of(const pipe_table& table, std::string_view name) {
    std::size_t index = 0;
    while (name != table.elements[index].name) {
        ++index;
    }
    return index;
}

// False when the pipe needs the element but it could not be made.
bool make_element(const element_row& row, gst_owned<GstElement>& element) {
    if (row.wanted != nullptr && !row.wanted()) {
        return true;
    }
    element = own_floating(gst_element_factory_make(row.factory, row.name));
    handle_set(row.handle, element.get());
    return element != nullptr || !row.required;
}

bool make_elements(const pipe_table& table, element_list& elements) {
    bool complete = true;
    for (std::size_t i = 0; i < table.elements.size(); ++i) {
        const std::size_t index = table.creation.empty() ? i : index_of(table, table.creation[i]);
        complete = make_element(table.elements[index], elements.at(index)) && complete;
    }
    return complete;
}

// Sets one property from a table's value.
class property_setter {
public:
    property_setter(GstElement* element, const char* property,
                    std::span<const char* const> path_arguments)
        : element_{element}, property_{property}, path_arguments_{path_arguments} {}

    void operator()(bool value) const { set(G_TYPE_BOOLEAN, g_value_set_boolean, value); }
    void operator()(int value) const { set(G_TYPE_INT, g_value_set_int, value); }
    void operator()(double value) const { set(G_TYPE_DOUBLE, g_value_set_double, value); }
    void operator()(const char* text) const { set(G_TYPE_STRING, g_value_set_string, text); }
    void operator()(caps_text caps) const {
        const gst_caps_owned value{gst_caps_from_string(caps.text)};
        set(GST_TYPE_CAPS, gst_value_set_caps, value.get());
    }
    void operator()(board_path path) const { (*this)(sysroot_path(path.text).c_str()); }
    void operator()(path_argument argument) const {
        (*this)(board_path{path_arguments_[argument.number]});
    }
    template <class Number> void operator()(Number video_config::*field) const {
        (*this)(configs.*field);
    }

private:
    // Through a GValue, so that a number becomes whatever the property's type is.
    template <class Setter, class Value> void set(GType type, Setter setter, Value value) const {
        g_value holder{type};
        setter(holder.get(), value);
        g_object_set_property(G_OBJECT(element_), property_, holder.get());
    }

    GstElement* element_;
    const char* property_;
    std::span<const char* const> path_arguments_;
};

void set_properties(const pipe_table& table, const element_list& elements,
                    std::span<const char* const> path_arguments) {
    for (const property_row& row : table.properties) {
        if (GstElement* const element = elements.at(index_of(table, row.element)).get()) {
            std::visit(property_setter{element, row.property, path_arguments}, row.value);
        }
    }
}

void add_elements(GstElement* pipeline, const element_list& elements) {
    for (const gst_owned<GstElement>& element : elements) {
        if (element) {
            gst_bin_add(GST_BIN(pipeline), element.get());
        }
    }
}

bool link_elements(const element_list& elements) {
    GstElement* previous = nullptr;
    for (const gst_owned<GstElement>& element : elements) {
        if (!element) {
            continue;
        }
        if (previous != nullptr && gst_element_link(previous, element.get()) == FALSE) {
            return false;
        }
        previous = element.get();
    }
    return true;
}

} // namespace

int build_pipe(GstElement* pipeline, const pipe_table& table,
               std::span<const char* const> path_arguments) {
    element_list elements;
    if (!make_elements(table, elements)) {
        log_message(LEVEL_ERROR, "%s", table.create_failed);
        return -1;
    }
    set_properties(table, elements, path_arguments);
    add_elements(pipeline, elements);
    if (!link_elements(elements)) {
        log_message(LEVEL_ERROR, "%s", table.link_failed);
        return -1;
    }
    const GstStateChangeReturn result = gst_element_set_state(pipeline, GST_STATE_PLAYING);
    log_message(LEVEL_INFO, "%s, rc = %d", table.playing, static_cast<int>(result));
    return 0;
}

// Builds a linear pipe from a table: its elements, their properties, what they are linked to.
#include "video/pipe_builder.h"

#include "core/log.h"
#include "util/sysroot.h"
#include "video/pipe_slots.h"

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
    property_setter(const property_row& row, const pipe_table& table, const element_list& elements,
                    std::span<const pipe_argument> arguments)
        : row_{row}, table_{table}, elements_{elements}, arguments_{arguments} {}

    // Nothing when the pipe does without the element.
    void run() const {
        if (element_of(row_.element) != nullptr) {
            std::visit(*this, row_.value);
        }
    }

    void operator()(bool value) const { set(G_TYPE_BOOLEAN, g_value_set_boolean, value); }
    void operator()(std::int32_t value) const { set(G_TYPE_INT, g_value_set_int, value); }
    void operator()(std::int64_t value) const { set(G_TYPE_INT64, g_value_set_int64, value); }
    void operator()(double value) const { set(G_TYPE_DOUBLE, g_value_set_double, value); }
    void operator()(const char* text) const { set(G_TYPE_STRING, g_value_set_string, text); }
    void operator()(caps_text caps) const {
        const gst_caps_owned value{gst_caps_from_string(caps.text)};
        set(GST_TYPE_CAPS, gst_value_set_caps, value.get());
    }
    void operator()(board_path path) const { (*this)(sysroot_path(path.text).c_str()); }
    void operator()(element_named other) const {
        set(GST_TYPE_ELEMENT, g_value_set_object, element_of(other.name));
    }
    void operator()(argument given) const { std::visit(*this, arguments_[given.number]); }
    void operator()(path_argument given) const {
        (*this)(board_path{std::get<const char*>(arguments_[given.number])});
    }
    template <class Number> void operator()(Number video_config::*field) const {
        (*this)(configs.*field);
    }

private:
    [[nodiscard]] GstElement* element_of(std::string_view name) const {
        return elements_.at(index_of(table_, name)).get();
    }

    // Through a GValue, so that a number becomes whatever the property's type is.
    template <class Setter, class Value> void set(GType type, Setter setter, Value value) const {
        g_value holder{type};
        setter(holder.get(), value);
        g_object_set_property(G_OBJECT(element_of(row_.element)), row_.property, holder.get());
    }

    const property_row& row_;
    const pipe_table& table_;
    const element_list& elements_;
    std::span<const pipe_argument> arguments_;
};

// From here on the list holds what stands in the pipe only.
void add_elements(GstElement* pipeline, const pipe_table& table, element_list& elements) {
    for (std::size_t i = 0; i < table.elements.size(); ++i) {
        if (table.elements[i].inside_another) {
            elements.at(i).reset();
        } else if (elements.at(i)) {
            gst_bin_add(GST_BIN(pipeline), elements.at(i).get());
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

int build_elements(GstElement* pipeline, const pipe_table& table,
                   std::span<const pipe_argument> arguments) {
    if (table.creating != nullptr) {
        log_message(LEVEL_INFO, "%s", table.creating);
    }
    if (table.preparing != nullptr) {
        table.preparing();
    }
    element_list elements;
    if (!make_elements(table, elements)) {
        log_message(LEVEL_ERROR, "%s", table.create_failed);
        return -1;
    }
    for (const property_row& row : table.properties) {
        property_setter{row, table, elements, arguments}.run();
    }
    add_elements(pipeline, table, elements);
    if (table.before_linking != nullptr) {
        table.before_linking();
    }
    if (!link_elements(elements)) {
        log_message(LEVEL_ERROR, "%s", table.link_failed);
        return -1;
    }
    return 0;
}

int build_pipe(GstElement* pipeline, const pipe_table& table,
               std::span<const pipe_argument> arguments) {
    if (build_elements(pipeline, table, arguments) != 0) {
        return -1;
    }
    if (table.playing == nullptr) {
        gstvideo_set_state(pipeline, GST_STATE_PLAYING);
        return 0;
    }
    const GstStateChangeReturn result = gst_element_set_state(pipeline, GST_STATE_PLAYING);
    log_message(LEVEL_INFO, "%s, rc = %d", table.playing, static_cast<int>(result));
    return 0;
}

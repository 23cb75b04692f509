// Builds a pipe from its row in the pipe tables: elements, properties, links.
#include "video/builder.h"

#include "core/log.h"
#include "util/sysroot.h"
#include "util/tools.h"
#include "video/pipes.h"
#include "video/slots.h"
#include "video/viewers.h"

#include <array>
#include <chrono>
#include <cstring>
#include <gst/video/video.h>
#include <string>
#include <thread>
#include <utility>

namespace {

using namespace std::chrono_literals;

// Pause after a pipe with a muxer was set playing, so that it settles. The loop waits meanwhile.
constexpr auto SETTLING_TIME = 200ms;

// --- Elements --------------------------------------------------------------------------------

// The elements of a chain under construction, by index in the table. Empty for elements that the
// pipe doesn't use.
using element_list = std::array<gst_owned<GstElement>, CHAIN_ELEMENTS_MAX>;

std::size_t index_of(const element_chain& chain, std::string_view name) {
    std::size_t index = 0;
    while (name != chain.elements[index].name) {
        ++index;
    }
    return index;
}

// Returns false if a required element can't be made.
bool make_element(const element_row& row, gst_owned<GstElement>& element) {
    if (row.wanted_by != nullptr && configs.*row.wanted_by == 0) {
        return true;
    }
    element = own_floating(gst_element_factory_make(row.factory, row.name));
    handle_set(row.handle, element.get());
    if (element && row.viewers_max != 0) {
        limit_viewers(element.get(), row.viewers_max);
    }
    return element != nullptr || !row.required;
}

bool make_elements(const element_chain& chain, element_list& elements) {
    bool complete = true;
    for (std::size_t i = 0; i < chain.elements.size(); ++i) {
        const std::size_t index = chain.creation.empty() ? i : index_of(chain, chain.creation[i]);
        complete = make_element(chain.elements[index], elements.at(index)) && complete;
    }
    return complete;
}

// --- Properties ------------------------------------------------------------------------------

bool has_property(GstElement* element, const char* property) {
    return g_object_class_find_property(G_OBJECT_GET_CLASS(element), property) != nullptr;
}

// Uses a GValue, which converts a number to the property's type.
template <class Setter, class Value>
void set_property(GstElement* element, const char* property, GType type, Setter setter,
                  Value value) {
    g_value holder{type};
    setter(holder.get(), value);
    g_object_set_property(G_OBJECT(element), property, holder.get());
}

void set_caps(GstElement* element, const char* property, caps_text caps) {
    const gst_owned<GstCaps> value{gst_caps_from_string(caps.text)};
    set_property(element, property, GST_TYPE_CAPS, gst_value_set_caps, value.get());
}

// Doubles each "%" but the last, so that only the last is a conversion in a printf-style pattern.
std::string with_one_conversion(std::string_view pattern) {
    const std::size_t last = pattern.rfind('%');
    std::string text;
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        text.append(pattern[i] == '%' && i != last ? 2 : 1, pattern[i]);
    }
    return text;
}

// Sets the property of a row: run() calls the operator for the type of the row's value.
class property_setter {
public:
    property_setter(const property_row& row, const element_chain& chain,
                    const element_list& elements, const start_arguments& arguments)
        : row_{row}, chain_{chain}, elements_{elements}, arguments_{arguments} {}

    // Does nothing if the pipe doesn't use the element, or the element lacks an optional property.
    void run() const {
        GstElement* const element = element_of(row_.element);
        if (element != nullptr && !(row_.is_optional && !has_property(element, row_.property))) {
            std::visit(*this, row_.value);
        }
    }

    void operator()(bool value) const { set(G_TYPE_BOOLEAN, g_value_set_boolean, value); }
    void operator()(std::int32_t value) const { set(G_TYPE_INT, g_value_set_int, value); }
    void operator()(std::int64_t value) const { set(G_TYPE_INT64, g_value_set_int64, value); }
    void operator()(double value) const { set(G_TYPE_DOUBLE, g_value_set_double, value); }
    void operator()(const char* text) const { set(G_TYPE_STRING, g_value_set_string, text); }
    void operator()(caps_text caps) const {
        set_caps(element_of(row_.element), row_.property, caps);
    }
    void operator()(board_path path) const { (*this)(sysroot_path(path.text).c_str()); }
    void operator()(given_path given) const { (*this)(board_path{arguments_.*given.argument}); }
    void operator()(given_pattern given) const {
        (*this)(with_one_conversion(sysroot_path(arguments_.*given.argument)).c_str());
    }
    void operator()(element_named other) const {
        set(GST_TYPE_ELEMENT, g_value_set_object, element_of(other.name));
    }
    template <class Value> void operator()(Value start_arguments::*argument) const {
        (*this)(arguments_.*argument);
    }
    template <class Number> void operator()(Number video_config::*field) const {
        (*this)(configs.*field);
    }

private:
    [[nodiscard]] GstElement* element_of(std::string_view name) const {
        return elements_.at(index_of(chain_, name)).get();
    }

    template <class Setter, class Value> void set(GType type, Setter setter, Value value) const {
        set_property(element_of(row_.element), row_.property, type, setter, value);
    }

    const property_row& row_;
    const element_chain& chain_;
    const element_list& elements_;
    const start_arguments& arguments_;
};

// Sets the caps that the rows name in elements of other pipes, as far as these exist.
void set_remote_properties(std::span<const remote_property> rows) {
    for (const remote_property& row : rows) {
        if (const gst_owned<GstElement> element = handle_get(row.handle)) {
            set_caps(element.get(), row.property, row.caps);
        }
    }
}

// --- Chains ----------------------------------------------------------------------------------

// Adds the elements to the pipeline. Removes from the list those that another element contains, so
// that they are not linked.
void add_elements(GstElement* pipeline, const element_chain& chain, element_list& elements) {
    for (std::size_t i = 0; i < chain.elements.size(); ++i) {
        if (chain.elements[i].inside_another) {
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

// Creates the chain's elements in the pipeline, sets their properties and the remote ones, and
// links the elements.
void build_chain(GstElement* pipeline, const element_chain& chain, const start_arguments& arguments,
                 std::span<const remote_property> remote_properties = {}) {
    element_list elements;
    if (!make_elements(chain, elements)) {
        log_fatal("%s", chain.create_failed);
    }
    for (const property_row& row : chain.properties) {
        property_setter{row, chain, elements, arguments}.run();
    }
    add_elements(pipeline, chain, elements);
    set_remote_properties(remote_properties);
    if (!link_elements(elements)) {
        log_fatal("%s", chain.link_failed);
    }
}

// --- Muxer's inputs --------------------------------------------------------------------------

gst_owned<GstElement> element_in(GstElement* pipeline, const char* name) {
    return gst_owned<GstElement>{gst_bin_get_by_name(GST_BIN(pipeline), name)};
}

bool link_to_muxer(GstPad* from, GstElement* muxer, const muxer_input& input) {
    const gst_owned<GstPadTemplate> pad_template =
        get_pad_template(muxer, GST_PAD_SINK, GST_PAD_REQUEST, input.pad_template);
    if (!pad_template) {
        return false;
    }
    const gst_owned<GstPad> to{
        gst_element_request_pad(muxer, pad_template.get(), input.pad_name, nullptr)};
    return to && gst_pad_link(from, to.get()) == GST_PAD_LINK_OK;
}

// Drops what precedes the first key frame: an output that joins a running encoder could not decode
// it.
GstPadProbeReturn drop_until_key_frame(GstPad* /*pad*/, GstPadProbeInfo* info,
                                       gpointer /*unused*/) {
    return GST_BUFFER_FLAG_IS_SET(GST_PAD_PROBE_INFO_BUFFER(info), GST_BUFFER_FLAG_DELTA_UNIT)
               ? GST_PAD_PROBE_DROP
               : GST_PAD_PROBE_REMOVE;
}

gst_owned<GstPad> last_pad_of(GstElement* pipeline, const muxer_input& input) {
    const gst_owned<GstElement> last = element_in(pipeline, input.chain.elements.back().name);
    return gst_owned<GstPad>{gst_element_get_static_pad(last.get(), "src")};
}

void ask_for_key_frame(GstElement* pipeline, const muxer_input& input) {
    const gst_owned<GstPad> pad = last_pad_of(pipeline, input);
    gst_pad_send_event(pad.get(),
                       gst_video_event_new_upstream_force_key_unit(GST_CLOCK_TIME_NONE, TRUE, 0));
}

void build_input(GstElement* pipeline, const char* muxer_name, const muxer_input& input) {
    build_chain(pipeline, input.chain, {});
    const gst_owned<GstPad> from = last_pad_of(pipeline, input);
    const gst_owned<GstElement> muxer = element_in(pipeline, muxer_name);
    if (!link_to_muxer(from.get(), muxer.get(), input)) {
        log_fatal("%s", input.pad_failed);
    }
    if (input.begins_at_key_frame) {
        gst_pad_add_probe(from.get(), GST_PAD_PROBE_TYPE_BUFFER, drop_until_key_frame, nullptr,
                          nullptr);
    }
}

// --- Pipes -----------------------------------------------------------------------------------

// Runs the row's command, if any, before the pipe is built for the first time.
void run_first_command(const pipe_row& row) {
    static std::array<bool, PIPE_COUNT> has_run{};
    if (row.first_command != nullptr &&
        !std::exchange(has_run.at(static_cast<std::size_t>(row.number)), true)) {
        static_cast<void>(exec_system_cmd("%s", row.first_command));
    }
}

void set_playing(GstElement* pipeline, const pipe_row& row) {
    if (row.playing == nullptr) {
        gstvideo_set_state(pipeline, GST_STATE_PLAYING);
        return;
    }
    const GstStateChangeReturn result = gst_element_set_state(pipeline, GST_STATE_PLAYING);
    log_message(LEVEL_INFO, "%s, rc = %d", row.playing, static_cast<int>(result));
}

template <class Call> void for_each_input(const pipe_row& row, Call call) {
    for (const muxer_input& input : row.inputs) {
        if (encodes(configs.enc_type, input.carries)) {
            call(input);
        }
    }
}

void build_pipe(GstElement* pipeline, const pipe_row& row, const start_arguments& arguments) {
    if (row.creating != nullptr) {
        log_message(LEVEL_INFO, "%s", row.creating);
    }
    run_first_command(row);
    build_chain(pipeline, row.chain, arguments, row.remote_properties);
    for_each_input(row, [&](const muxer_input& input) { build_input(pipeline, row.muxer, input); });
    set_playing(pipeline, row);
    for_each_input(row, [&](const muxer_input& input) {
        if (input.begins_at_key_frame) {
            ask_for_key_frame(pipeline, input);
        }
    });
    if (row.muxer != nullptr) {
        std::this_thread::sleep_for(SETTLING_TIME);
    }
}

// Returns the template of the element's class. The factory's template has no pad type, so a pad
// requested by it has the wrong type.
gst_owned<GstPadTemplate> template_of_class(GstElement* element, const char* name) {
    GstPadTemplate* const found =
        gst_element_class_get_pad_template(GST_ELEMENT_GET_CLASS(element), name);
    return own_floating(found);
}

} // namespace

bus_handle start_pipe(int pipe, const start_arguments& arguments) {
    const bool existed = is_created(pipe) != 0;
    const int fd = create_pipeline(pipe);
    if (fd >= 0 && !existed) {
        build_pipe(pipe_pipeline(pipe), pipe_row_of(pipe), arguments);
    }
    return {fd, pipe};
}

gst_owned<GstPadTemplate> get_pad_template(GstElement* element, GstPadDirection direction,
                                           GstPadPresence presence, const char* name) {
    GstElementFactory* const factory = gst_element_get_factory(element);
    if (factory == nullptr) {
        return nullptr;
    }
    for (const GList* node = gst_element_factory_get_static_pad_templates(factory); node != nullptr;
         node = node->next) {
        auto* const candidate = static_cast<GstStaticPadTemplate*>(node->data);
        if (candidate->direction == direction && candidate->presence == presence &&
            (name == nullptr || std::strcmp(candidate->name_template, name) == 0)) {
            return template_of_class(element, candidate->name_template);
        }
    }
    return nullptr;
}

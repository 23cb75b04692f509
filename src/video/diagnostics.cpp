// Diagnostics of running pipes: a dump to the log, and graphs for Graphviz.
#include "video/diagnostics.h"

#include "core/log.h"
#include "util/files.h"
#include "video/slots.h"

namespace {

void print_bin_debug(GstBin* bin);

const char* direction_name(GstPad* pad) {
    switch (pad == nullptr ? GST_PAD_UNKNOWN : gst_pad_get_direction(pad)) {
    case GST_PAD_SRC:
        return "SRC";
    case GST_PAD_SINK:
        return "SINK";
    default:
        return "UNKNOWN";
    }
}

g_text name_or_none(gpointer object) {
    return g_text{object == nullptr ? g_strdup("none") : gst_object_get_name(GST_OBJECT(object))};
}

gboolean print_pad_info(GstElement* /*element*/, GstPad* pad, gpointer /*user_data*/) {
    const gst_owned<GstPad> peer{gst_pad_get_peer(pad)};
    const gst_owned<GstObject> parent{peer ? gst_object_get_parent(GST_OBJECT(peer.get()))
                                           : nullptr};
    log_message(LEVEL_INFO, "   pad: %s, dir: %s <-> peer: %s, parent:%s, dir:%s",
                name_or_none(pad).get(), direction_name(pad), name_or_none(peer.get()).get(),
                name_or_none(parent.get()).get(), direction_name(peer.get()));
    return TRUE;
}

void print_element(GValue* item) {
    auto* const element = GST_ELEMENT(g_value_get_object(item));
    const g_text text{g_strdup_value_contents(item)};
    GstState state = GST_STATE_VOID_PENDING;
    query_state(element, state);
    log_message(LEVEL_INFO, "Element: %s, state: %s", text.get(),
                gst_element_state_get_name(state));
    gst_element_foreach_pad(element, print_pad_info, nullptr);
    if (GST_IS_BIN(element)) {
        print_bin_debug(GST_BIN(element));
    }
}

void print_elements(GstIterator* iterator) {
    g_value item;
    for (;;) {
        switch (gst_iterator_next(iterator, item.get())) {
        case GST_ITERATOR_OK:
            print_element(item.get());
            g_value_reset(item.get());
            break;
        case GST_ITERATOR_RESYNC:
            gst_iterator_resync(iterator);
            break;
        default:
            return;
        }
    }
}

void print_bin_debug(GstBin* bin) {
    const g_text name = name_or_none(bin);
    log_message(LEVEL_INFO, "-- Bin -- [%s]", name.get());
    const gst_owned<GstIterator> iterator{gst_bin_iterate_elements(bin)};
    print_elements(iterator.get());
    log_message(LEVEL_INFO, "-- Bin end --[%s]", name.get());
}

// All details: media types, caps, non-default parameters and states.
constexpr auto GRAPH_DETAILS = static_cast<GstDebugGraphDetails>(15);

} // namespace

void gstvideo_print_status() {
    for (int pipe = 0; pipe < PIPE_COUNT; ++pipe) {
        if (is_created(pipe) != 0) {
            print_bin_debug(GST_BIN(pipe_pipeline(pipe)));
        }
    }
}

int gstvideo_generate_dot_file(int pipe, const char* path) {
    if (is_created(pipe) == 0) {
        return 1;
    }
    const g_text graph{gst_debug_bin_to_dot_data(GST_BIN(pipe_pipeline(pipe)), GRAPH_DETAILS)};
    // GStreamer without debugging support returns no graph.
    return write_full_file(path, graph ? graph.get() : "");
}

// What pipes say on their buses: ends, errors, warnings and infos.
#include "core/log.h"
#include "video/ending.h"
#include "video/pipes.h"
#include "video/slots.h"

#include <cstring>

namespace {

// What a bus message says, in its two parts.
struct report {
    g_error_owned error;
    g_text debug;
};

using message_parser = void (*)(GstMessage*, GError**, gchar**);

report parse_report(GstMessage* message, message_parser parse) {
    GError* error = nullptr;
    gchar* debug = nullptr;
    parse(message, &error, &debug);
    return {g_error_owned{error}, g_text{debug}};
}

bool is_from(const GstMessage* message, const char* element) {
    return element != nullptr && GST_MESSAGE_SRC(message) != nullptr &&
           std::strcmp(GST_MESSAGE_SRC_NAME(message), element) == 0;
}

void handle_report(GstMessage* message, const char* path, int pipe, message_parser parse) {
    const report said = parse_report(message, parse);
    log_message(LEVEL_WARN, "from element %s: %s", path,
                said.error ? said.error->message : "(NULL)");
    if (is_from(message, pipe_row_of(pipe).restarted_by)) {
        restart_pipe(pipe);
    }
    if (said.debug) {
        log_message(LEVEL_WARN, "%s", said.debug.get());
    }
}

struct report_type {
    GstMessageType type;
    message_parser parse;
};

constexpr report_type report_types[] = {
    {GST_MESSAGE_ERROR, gst_message_parse_error},
    {GST_MESSAGE_WARNING, gst_message_parse_warning},
    {GST_MESSAGE_INFO, gst_message_parse_info},
};

} // namespace

int message_handle(GstMessage* message, int pipe) {
    if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_EOS) {
        destroy_pipe(pipe, is_forced_end(message));
        return 1;
    }
    if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_ERROR) {
        note_error(pipe);
    }
    for (const report_type& row : report_types) {
        if (GST_MESSAGE_TYPE(message) == row.type) {
            const bool has_source = GST_MESSAGE_SRC(message) != nullptr;
            const g_text path{has_source ? gst_object_get_path_string(GST_MESSAGE_SRC(message))
                                         : nullptr};
            handle_report(message, path ? path.get() : "(NULL)", pipe, row.parse);
        }
    }
    return 0;
}

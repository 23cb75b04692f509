// Handles the messages of pipes: ends, errors, warnings and infos.
#include "core/log.h"
#include "video/ending.h"
#include "video/pipes.h"
#include "video/slots.h"
#include "video/storage.h"

#include <cstring>

namespace {

// The two parts of a bus message.
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

void warn_of(GstMessage* message, const char* path, const pipe_row& row, const char* text) {
    constexpr const char* FORMAT = "from element %s: %s";
    const bool is_failure =
        GST_MESSAGE_TYPE(message) == GST_MESSAGE_ERROR || is_from(message, row.restarted_by);
    if (is_failure && row.failure != failure_kind::count) {
        log_failure(row.failure, FORMAT, path, text);
    } else {
        log_message(LEVEL_WARN, FORMAT, path, text);
    }
}

void handle_report(GstMessage* message, const char* path, int pipe, message_parser parse) {
    const report said = parse_report(message, parse);
    const pipe_row& row = pipe_row_of(pipe);
    warn_of(message, path, row, said.error ? said.error->message : "(NULL)");
    if (is_from(message, row.restarted_by)) {
        restart_pipe(pipe);
    }
    if (said.debug) {
        log_message(LEVEL_WARN, "%s", said.debug.get());
    }
}

// Message of splitmuxsink with the file's path.
constexpr const char* FILE_OPENED = "splitmuxsink-fragment-opened";

struct report_type {
    GstMessageType type;
    message_parser parse;
};

constexpr report_type report_types[] = {
    {GST_MESSAGE_ERROR, gst_message_parse_error},
    {GST_MESSAGE_WARNING, gst_message_parse_warning},
    {GST_MESSAGE_INFO, gst_message_parse_info},
};

// A muxer's output shows that the output is running; a push runs only once its server accepts data.
void note_progress(GstMessage* message, const pipe_row& row) {
    if (row.records && gst_message_has_name(message, FILE_OPENED) != FALSE) {
        const GstStructure* const opened = gst_message_get_structure(message);
        record_file_opened(gst_structure_get_string(opened, "location"));
        note_delivery(row.number);
    } else if (!row.records && row.restarted_by == nullptr &&
               GST_MESSAGE_TYPE(message) == GST_MESSAGE_STREAM_START) {
        note_delivery(row.number);
    }
}

} // namespace

int message_handle(GstMessage* message, int pipe) {
    if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_EOS) {
        destroy_pipe(pipe, is_forced_end(message));
        return 1;
    }
    if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_ERROR) {
        note_error(pipe);
    }
    note_progress(message, pipe_row_of(pipe));
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

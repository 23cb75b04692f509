// A file as the answer to a request.
#include "file_answer.h"

#include "soup_owned.h"

#include <algorithm>
#include <memory>
#include <string>
#include <unistd.h>
#include <utility>

namespace web {
namespace {

// Memory for an answer while it is sent.
constexpr goffset chunk_max = goffset{256} * 1024;

// What belongs to a request until it ends.
constexpr const char* body_key = "vtrdc-file";

struct file_body {
    descriptor file;
    goffset position;
    goffset end; // behind the last byte
};

struct ranges_release {
    SoupMessageHeaders* headers;
    void operator()(SoupRange* ranges) const noexcept {
        soup_message_headers_free_ranges(headers, ranges);
    }
};

// Takes the Range out of the request, where the library would act on it, too. The whole file where
// none is asked for, or more than one, which players of recordings don't. There are no marks of a
// file's version here, so that a part that depends on one can't be given.
SoupRange take_range(SoupServerMessage* request, goffset bytes, bool& is_part) {
    SoupMessageHeaders* const headers = soup_server_message_get_request_headers(request);
    SoupRange* parsed = nullptr;
    int count = 0;
    is_part = soup_server_message_get_method(request) == SOUP_METHOD_GET &&
              soup_message_headers_get_one(headers, "If-Range") == nullptr &&
              soup_message_headers_get_ranges(headers, bytes, &parsed, &count) != FALSE &&
              count == 1;
    const std::unique_ptr<SoupRange, ranges_release> ranges(parsed, ranges_release{headers});
    soup_message_headers_remove(headers, "Range");
    if (!is_part) {
        return {0, bytes - 1};
    }
    return {std::max<goffset>(parsed->start, 0), std::min(parsed->end, bytes - 1)};
}

void refuse_range(SoupServerMessage* request, goffset bytes) {
    const std::string size = "bytes */" + std::to_string(bytes);
    soup_message_headers_replace(soup_server_message_get_response_headers(request), "Content-Range",
                                 size.c_str());
    soup_server_message_set_status(request, SOUP_STATUS_REQUESTED_RANGE_NOT_SATISFIABLE, nullptr);
}

// Nothing else tells the other side that the bytes it was promised won't come.
void give_up(SoupServerMessage* request) {
    g_socket_shutdown(soup_server_message_get_socket(request), TRUE, TRUE, nullptr);
}

void send_more(SoupServerMessage* request, gpointer data) noexcept {
    auto* const from = static_cast<file_body*>(data);
    SoupMessageBody* const body = soup_server_message_get_response_body(request);
    const auto wanted = static_cast<gsize>(std::min(chunk_max, from->end - from->position));
    if (wanted == 0) {
        soup_message_body_complete(body);
        return;
    }
    g_text bytes(static_cast<gchar*>(g_malloc(wanted)));
    const ssize_t size = pread(from->file.number(), bytes.get(), wanted, from->position);
    if (size <= 0) {
        give_up(request);
        soup_message_body_complete(body);
        return;
    }
    from->position += size;
    const g_owned<GBytes> chunk(g_bytes_new_take(bytes.release(), static_cast<gsize>(size)));
    soup_message_body_append_bytes(body, chunk.get());
}

void start_body(SoupServerMessage* request, std::unique_ptr<file_body> from) {
    file_body* const lasting = give_to_request(request, body_key, std::move(from));
    soup_message_body_set_accumulate(soup_server_message_get_response_body(request), FALSE);
    g_signal_connect(request, "wrote-chunk", G_CALLBACK(send_more), lasting);
    send_more(request, lasting);
}

} // namespace

void answer_with_file(SoupServerMessage* request, opened_file from, const char* type) {
    SoupMessageHeaders* const headers = soup_server_message_get_response_headers(request);
    soup_message_headers_replace(headers, "Accept-Ranges", "bytes");
    bool is_part = false;
    const SoupRange range = take_range(request, from.bytes, is_part);
    if (is_part && range.start > range.end) {
        refuse_range(request, from.bytes);
        return;
    }
    if (is_part) {
        soup_message_headers_set_content_range(headers, range.start, range.end, from.bytes);
    }
    soup_message_headers_replace(headers, "Content-Type", type);
    soup_message_headers_set_content_length(headers, range.end + 1 - range.start);
    soup_server_message_set_status(request, is_part ? SOUP_STATUS_PARTIAL_CONTENT : SOUP_STATUS_OK,
                                   nullptr);
    start_body(request, std::make_unique<file_body>(
                            file_body{std::move(from.file), range.start, range.end + 1}));
}

} // namespace web

// Sends a file as a response.
#include "file_response.h"

#include "http_response.h"
#include "soup_owned.h"

#include <algorithm>
#include <array>
#include <memory>
#include <string>
#include <unistd.h>
#include <utility>

namespace web {
namespace {

// Memory limit of a response in progress.
constexpr goffset CHUNK_BYTES_MAX = goffset{256} * 1024;

// Key of the data attached to a request.
constexpr const char* BODY_KEY = "vtrdc-file";

struct content_type {
    std::string_view ending;
    const char* name;
};

constexpr auto content_types = std::to_array<content_type>({
    {".html", "text/html; charset=utf-8"},
    {".css", "text/css; charset=utf-8"},
    {".js", "text/javascript; charset=utf-8"},
    {".svg", "image/svg+xml"},
    {".mp4", "video/mp4"},
    {".jpeg", "image/jpeg"},
});

const char* content_type_of(std::string_view name) {
    const auto* const found = std::ranges::find_if(
        content_types, [name](const content_type& row) { return name.ends_with(row.ending); });
    return found == content_types.end() ? "application/octet-stream" : found->name;
}

struct file_body {
    fd_owned file;
    goffset position;
    goffset end; // after the last byte
};

struct ranges_release {
    SoupMessageHeaders* headers;
    void operator()(SoupRange* ranges) const noexcept {
        soup_message_headers_free_ranges(headers, ranges);
    }
};

// Removes the Range header, since the library would apply it again. Returns the whole file without
// a range, for several ranges (players of recordings request one), and for a range that depends on
// the file's version, which is unknown here.
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

// Closing the connection is the only way to report that the promised bytes won't come.
void give_up(SoupServerMessage* request) {
    g_socket_shutdown(soup_server_message_get_socket(request), TRUE, TRUE, nullptr);
}

void send_more(SoupServerMessage* request, gpointer data) noexcept {
    auto* const from = static_cast<file_body*>(data);
    SoupMessageBody* const body = soup_server_message_get_response_body(request);
    const auto wanted = static_cast<gsize>(std::min(CHUNK_BYTES_MAX, from->end - from->position));
    if (wanted == 0) {
        soup_message_body_complete(body);
        return;
    }
    g_text bytes(static_cast<gchar*>(g_malloc(wanted)));
    const ssize_t size = pread(from->file.get(), bytes.get(), wanted, from->position);
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
    file_body* const lasting = give_to_request(request, BODY_KEY, std::move(from));
    soup_message_body_set_accumulate(soup_server_message_get_response_body(request), FALSE);
    g_signal_connect(request, "wrote-chunk", G_CALLBACK(send_more), lasting);
    send_more(request, lasting);
}

} // namespace

void respond_with_file(SoupServerMessage* request, opened_file from, std::string_view name) {
    if (!from.file) {
        refuse(request, SOUP_STATUS_NOT_FOUND);
        return;
    }
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
    soup_message_headers_replace(headers, "Content-Type", content_type_of(name));
    soup_message_headers_set_content_length(headers, range.end + 1 - range.start);
    soup_server_message_set_status(request, is_part ? SOUP_STATUS_PARTIAL_CONTENT : SOUP_STATUS_OK,
                                   nullptr);
    start_body(request, std::make_unique<file_body>(
                            file_body{std::move(from.file), range.start, range.end + 1}));
}

} // namespace web

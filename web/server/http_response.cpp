// Responses other than files.
#include "http_response.h"

#include <nlohmann/json.hpp>

namespace web {

void close_after(SoupServerMessage* request) {
    soup_message_headers_replace(soup_server_message_get_response_headers(request), "Connection",
                                 "close");
}

void refuse(SoupServerMessage* request, guint status, std::string_view word) {
    soup_server_message_set_status(request, status, nullptr);
    if (!word.empty()) {
        soup_server_message_set_response(request, "text/plain", SOUP_MEMORY_COPY, word.data(),
                                         word.size());
    }
    close_after(request);
}

void respond(SoupServerMessage* request, guint status, bool is_done, const std::string& text) {
    const nlohmann::json said = {{"ok", is_done}, {"text", text}};
    const std::string body = said.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
    soup_server_message_set_status(request, status, nullptr);
    soup_server_message_set_response(request, "application/json", SOUP_MEMORY_COPY, body.data(),
                                     body.size());
}

} // namespace web

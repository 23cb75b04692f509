// Responses other than files.
#pragma once

#include <libsoup/soup.h>

#include <string>
#include <string_view>

namespace web {

// Closes the connection after this response.
void close_after(SoupServerMessage* request);

// Responds with a status and a short text, or without a body, and closes the connection.
void refuse(SoupServerMessage* request, guint status, std::string_view word = {});

// {"ok": is_done, "text": text} as JSON.
void respond(SoupServerMessage* request, guint status, bool is_done, const std::string& text);

} // namespace web

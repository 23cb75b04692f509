// Responses that are not files.
#pragma once

#include <libsoup/soup.h>

#include <string>
#include <string_view>

namespace web {

// The connection ends with this response.
void close_after(SoupServerMessage* request);

// A status, with a word for a person or without a body. The connection ends with it.
void refuse(SoupServerMessage* request, guint status, std::string_view word = {});

// {"ok": is_done, "text": text} as JSON.
void respond(SoupServerMessage* request, guint status, bool is_done, const std::string& text);

} // namespace web

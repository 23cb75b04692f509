// Responses that are not files.
#pragma once

#include <libsoup/soup.h>

#include <string>

namespace web {

// The connection ends with this response.
void close_after(SoupServerMessage* request);

// A status without a body.
void refuse(SoupServerMessage* request, guint status);

// {"ok": is_done, "text": text} as JSON.
void respond(SoupServerMessage* request, guint status, bool is_done, const std::string& text);

} // namespace web

// A file as the response to a request.
#pragma once

#include "contained_folder.h"

#include <libsoup/soup.h>

#include <string_view>

namespace web {

// Responds with the file, or with the part of it that the request's Range asks for; 404 without a
// file. The file is read as the other side takes it: it may be large, or be cut short by somebody
// meanwhile, which ends the connection. The name's ending says what is in the file.
void respond_with_file(SoupServerMessage* request, opened_file from, std::string_view name);

} // namespace web

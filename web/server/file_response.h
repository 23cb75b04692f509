// Sends a file as a response.
#pragma once

#include "contained_folder.h"

#include <libsoup/soup.h>

#include <string_view>

namespace web {

// Responds with the file, or the part requested by the Range header; with 404 without a file. Reads
// the file only as fast as the client does, since it may be large. If it is truncated meanwhile,
// the connection is closed. The content type follows from the name's extension.
void respond_with_file(SoupServerMessage* request, opened_file from, std::string_view name);

} // namespace web

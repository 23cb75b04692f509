// A file as the answer to a request.
#pragma once

#include "contained_folder.h"

#include <libsoup/soup.h>

namespace web {

// Answers with the file, or with the part of it that the request's Range asks for. The file is read
// as the other side takes it: it may be large, or be cut short by somebody meanwhile, which ends
// the connection. `type` is what is in the file, as HTTP names it.
void answer_with_file(SoupServerMessage* request, opened_file from, const char* type);

} // namespace web

// The texts that pass over the command socket: four fields, separated by colons.
//
//   type ":" command ":" data type ":" data
//
// Requests have the type "c", replies "r" (done) or "e" (error). The data is all that follows the
// third colon and may hold colons itself.
#pragma once

#include "core/imem.h"

// A decoded request. Texts are borrowed from that of the request.
struct ipc_msg {
    char ctype = '\0';
    const char* cmd = nullptr;
    unsigned int clen = 0;
    char dtype = '\0';
    char* data = nullptr; // a list is taken apart in place
    unsigned int dlen = 0;
};

// A reply to encode. Texts are borrowed.
struct ipc_reply {
    char ctype = '\0';
    const char* cmd = nullptr;
    char dtype = '\0';
    const char* data = nullptr; // absent counts as empty
};

// Decodes a request in place: separators become terminators. 0 for a valid request, else -1.
[[nodiscard]] int ipc_deserialize(char* text, ipc_msg& message);

// The reply's text; none when memory is short.
[[nodiscard]] malloc_text ipc_serialize(const ipc_reply& reply);

// Messages on the command socket: four fields, separated by colons.
//
//   type ":" command ":" data type ":" data
//
// Requests have the type "c", replies "r" (done) or "e" (error). The data is everything after the
// third colon and may contain colons.
#pragma once

#include "core/imem.h"

// A decoded request. Texts point into the request's text.
struct ipc_msg {
    char ctype = '\0';
    const char* cmd = nullptr;
    unsigned int clen = 0;
    char dtype = '\0';
    char* data = nullptr; // split in place if it is a list
    unsigned int dlen = 0;
};

// A reply to encode. Texts are borrowed.
struct ipc_reply {
    char ctype = '\0';
    const char* cmd = nullptr;
    char dtype = '\0';
    const char* data = nullptr; // null counts as empty
};

// Decodes a request in place: separators become terminators. Returns 0 for a valid request, else
// -1.
[[nodiscard]] int ipc_deserialize(char* text, ipc_msg& message);

// Returns the reply's text, or none when memory is short.
[[nodiscard]] malloc_text ipc_serialize(const ipc_reply& reply);

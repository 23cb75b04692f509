// Connection to the message broker: publishes device notices for an outside controller.
//
// There is at most one connection, made on demand and kept, even if broken, until the daemon stops.
// No call waits more than a second for the server.
#pragma once

#include "core/imem.h"
#include "osd/notices.h"

// Connects to the server's Unix socket. Returns 0 for a new connection; 1 if there is one already,
// or with a warning on failure.
[[nodiscard]] int rmb_connect(const char* socket_path);

// Publishes the message on the channel, ignoring the server's reply. Returns 0; 1 without a
// connection or message.
int rmb_pub_string(const char* channel, const char* message);

void rmb_disconnect();

// Returns 1 while there is a connection, even a broken one, else 0.
[[nodiscard]] int rmb_is_connected();

// Formats a notice, without and with a code. The message is not escaped.
[[nodiscard]] malloc_text construct_json_message(const char* message);
[[nodiscard]] malloc_text construct_json_code_and_message(const char* message, int code);

// Publishes a device notice. Returns the result of rmb_pub_string.
int send_mb_event(event_message_index index);

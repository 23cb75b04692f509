// The link to the message broker: device notices published for an outside controller.
//
// There is one connection at most, made on demand and kept, even broken, until the daemon stops.
// No call waits longer than a second for the server.
#pragma once

#include "core/imem.h"
#include "osd/notices.h"

// Connects to the server's Unix socket. 0 for a new connection; 1 when there is one already, or
// with a warning when it failed.
[[nodiscard]] int rmb_connect(const char* socket_path);

// Publishes the message on the channel, whatever the server makes of it. 0; 1 when there is no
// connection or no message.
int rmb_pub_string(const char* channel, const char* message);

void rmb_disconnect();

// 1 while a connection is held, also a broken one, else 0.
[[nodiscard]] int rmb_is_connected();

// The text of a notice, without and with a code. The message is put in as it is.
[[nodiscard]] malloc_text construct_json_message(const char* message);
[[nodiscard]] malloc_text construct_json_code_and_message(const char* message, int code);

// Publishes one of the device notices; the result of rmb_pub_string.
int send_mb_event(event_message_index index);

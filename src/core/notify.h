// Reports the daemon's state to the supervisor that started it, in systemd's protocol: datagrams to
// the socket named by NOTIFY_SOCKET.
#pragma once

// Takes the supervisor's socket from the environment and removes the variable, so that our tools
// don't notify in our name. Without a supervisor, notify_supervisor() does nothing.
void notify_open();

// Sends a state: lines NAME=VALUE. Never waits; a datagram that can't be sent is dropped.
void notify_supervisor(const char* state);

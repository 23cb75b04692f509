// Tells the supervisor that started the daemon how it is, in systemd's protocol: datagrams to the
// socket that NOTIFY_SOCKET names.
#pragma once

// Takes the supervisor's socket from the environment, out of which it is removed: tools that we run
// don't speak for us. Without a supervisor that listens, notify_supervisor() does nothing.
void notify_open();

// Sends a state: lines NAME=VALUE. It never waits, and one that can't be sent is lost: the
// supervisor judges by what it gets.
void notify_supervisor(const char* state);

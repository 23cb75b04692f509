// The thread that owns Qt: runs posted tasks in order.
#pragma once

#include <functional>

namespace sim {

// Starts the thread, once per process. Call before threads that read the environment exist, since
// Qt is configured through it, and on the thread that may end the process.
void scene_thread_start();

// Runs the task on the scene thread. Nothing runs during exit.
void scene_thread_post(std::function<void()> task);

// Called by tasks that may have loaded libraries: the handler that ends Qt at exit must be
// registered after the libraries' handlers.
void scene_thread_guard_exit();

// Runs the task on the scene thread when Qt ends, before the application object is destroyed.
void scene_thread_at_end(std::function<void()> task);

} // namespace sim

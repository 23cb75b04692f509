// The one thread that owns Qt: it runs whatever is posted to it, in order.
#pragma once

#include <functional>

namespace sim {

// Starts the thread, once a process. Before any thread that reads the environment, since Qt is told
// through that, and on the thread that may end the process.
void scene_thread_start();

// Runs the task on the scene thread; nothing runs any more once the process exits.
void scene_thread_post(std::function<void()> task);

// Told by the thread's own tasks that libraries may have been loaded: what ends Qt in time at exit
// must be registered after their own endings.
void scene_thread_guard_exit();

// Runs the task on the scene thread when Qt ends, before the application object goes.
void scene_thread_at_end(std::function<void()> task);

} // namespace sim

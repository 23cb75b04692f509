// Client commands that inspect and control single pipes.
#include "api/handlers.h"
#include "api/values.h"
#include "control/actions_media.h"
#include "control/pipe_events.h"
#include "core/log.h"
#include "video/diagnostics.h"
#include "video/registry.h"
#include "video/start.h"

namespace {

// Runs the operation on the pipe with the number in `data`; -1 if there is no such pipe.
template <class Operation> int on_pipe(const char* data, Operation operation) {
    const int pipe = to_integer(data);
    if (!is_pipe_number(pipe)) {
        log_message(LEVEL_WARN, "there is no pipe %d", pipe);
        return -1;
    }
    return operation(pipe);
}

int create_pipe(int pipe) {
    const bus_handle handle = gstvideo_start_pipe(pipe);
    return handle.fd > 0 ? register_bus(handle) : -1;
}

} // namespace

int user_cmd_get_pl_state(request_arguments /*arguments*/, malloc_text& /*reply*/) {
    gstvideo_print_status();
    return 0;
}

int user_cmd_create_dot_file(request_arguments /*arguments*/, malloc_text& /*reply*/) {
    return ac_generate_dot_file();
}

int user_cmd_create_pipe(request_arguments arguments, malloc_text& /*reply*/) {
    return on_pipe(arguments[0], create_pipe);
}

int user_cmd_destroy_pipe(request_arguments arguments, malloc_text& /*reply*/) {
    return on_pipe(arguments[0], gstvideo_stop_pipe);
}

int user_cmd_pause_pipe(request_arguments arguments, malloc_text& /*reply*/) {
    return on_pipe(arguments[0], gstvideo_pause_pipe);
}

int user_cmd_resume_pipe(request_arguments arguments, malloc_text& /*reply*/) {
    return on_pipe(arguments[0], gstvideo_resume_pipe);
}

int user_cmd_pause_video(request_arguments /*arguments*/, malloc_text& /*reply*/) {
    return gstvideo_pause_all_pipes();
}

int user_cmd_resume_video(request_arguments /*arguments*/, malloc_text& /*reply*/) {
    return gstvideo_resume_all_pipes();
}

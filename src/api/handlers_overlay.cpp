// Client commands for the overlay scene.
#include "api/handlers.h"
#include "api/values.h"
#include "video/controls.h"

namespace {

// Tells the client why a call failed.
int answer_call(int result, malloc_text& reply) {
    if (result != 0) {
        reply = estrdup("Failed when executing command.");
        return -1;
    }
    return 0;
}

} // namespace

int user_cmd_qml_set(request_arguments arguments, malloc_text& reply) {
    return answer_call(gstvideo_set_qml_param(arguments[0], arguments[1], arguments[2]), reply);
}

int user_cmd_qml_enable(request_arguments arguments, malloc_text& reply) {
    return answer_call(gstvideo_show_overlay(to_integer(arguments[0])), reply);
}

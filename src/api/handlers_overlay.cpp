// Client commands that reach into the overlay scene.
#include "api/arguments.h"
#include "api/handlers.h"
#include "api/values.h"
#include "video/controls.h"

namespace {

// Explains a failed call to the client.
int answer_call(int result, malloc_text& reply) {
    if (result != 0) {
        reply = estrdup("Failed when executing command.");
        return -1;
    }
    return 0;
}

} // namespace

int user_cmd_qml_set(char* data, malloc_text& reply) {
    const argument_list list = split_arg_list(data);
    if (list.count != 3) {
        reply = estrdup("Invalid argument count");
        return -1;
    }
    return answer_call(
        gstvideo_set_qml_param(list.arguments[0], list.arguments[1], list.arguments[2]), reply);
}

int user_cmd_qml_enable(char* data, malloc_text& reply) {
    return answer_call(gstvideo_show_overlay(to_integer(data)), reply);
}

// Client commands for the reticle and its red dot.
#include "api/handlers.h"
#include "api/values.h"
#include "config/cfg.h"
#include "control/actions_reticle.h"

int user_cmd_reticle(request_arguments arguments, malloc_text& /*reply*/) {
    ac_set_reticle_visible(to_flag(arguments[0]));
    return 0;
}

int user_cmd_get_reticle(request_arguments /*arguments*/, malloc_text& reply) {
    reply = decimal_text(global_config.reticle);
    return 0;
}

int user_cmd_dot(request_arguments arguments, malloc_text& /*reply*/) {
    return ac_update_red_dot(to_integer(arguments[0]));
}

int user_cmd_origin(request_arguments arguments, malloc_text& /*reply*/) {
    ac_update_reticle_origin(to_number(arguments[0]), to_number(arguments[1]));
    return 0;
}

int user_cmd_set_reticle_src(request_arguments arguments, malloc_text& /*reply*/) {
    ac_update_reticle_src(to_integer(arguments[0]));
    return 0;
}

int user_cmd_set_reticle_color(request_arguments arguments, malloc_text& /*reply*/) {
    return ac_update_reticle_color(to_integer(arguments[0]));
}

int user_cmd_set_reticle_opacity(request_arguments arguments, malloc_text& /*reply*/) {
    return ac_update_reticle_opacity(to_number(arguments[0]));
}

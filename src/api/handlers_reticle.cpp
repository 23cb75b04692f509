// Client commands for the reticle and its red dot.
#include "api/arguments.h"
#include "api/handlers.h"
#include "api/values.h"
#include "config/cfg.h"
#include "control/actions_reticle.h"

int user_cmd_reticle(char* data, malloc_text& /*reply*/) {
    ac_set_reticle_visible(to_flag(data));
    return 0;
}

int user_cmd_get_reticle(char* /*data*/, malloc_text& reply) {
    reply = decimal_text(global_config.reticle);
    return 0;
}

int user_cmd_dot(char* data, malloc_text& /*reply*/) {
    return ac_update_red_dot(to_integer(data));
}

int user_cmd_origin(char* data, malloc_text& reply) {
    const argument_list list = split_arg_list(data);
    if (list.count != 2) {
        reply = estrdup("Invalid argument count");
        return -1;
    }
    ac_update_reticle_origin(to_number(list.arguments[0]), to_number(list.arguments[1]));
    return 0;
}

int user_cmd_set_reticle_src(char* data, malloc_text& /*reply*/) {
    ac_update_reticle_src(to_integer(data));
    return 0;
}

int user_cmd_set_reticle_color(char* data, malloc_text& /*reply*/) {
    return ac_update_reticle_color(to_integer(data));
}

int user_cmd_set_reticle_opacity(char* data, malloc_text& /*reply*/) {
    return ac_update_reticle_opacity(to_number(data));
}

// Client commands for the sight's controls and settings.
#include "api/handlers.h"
#include "api/values.h"
#include "config/cfg.h"
#include "control/actions_sight.h"
#include "control/hand_over.h"
#include "util/value_tables.h"

int user_cmd_disable_kbd(request_arguments /*arguments*/, malloc_text& /*reply*/) {
    return ac_disable_kbd();
}

int user_cmd_get_config(request_arguments /*arguments*/, malloc_text& reply) {
    reply = cfg_serialize_global_config();
    return 0;
}

int user_cmd_get_lum(request_arguments /*arguments*/, malloc_text& reply) {
    reply = decimal_text(global_config.luminance);
    return 0;
}

int user_cmd_get_pip(request_arguments /*arguments*/, malloc_text& reply) {
    reply = decimal_text(global_config.pip_mode);
    return 0;
}

int user_cmd_get_zoom(request_arguments /*arguments*/, malloc_text& reply) {
    reply = decimal_text(ac_get_current_zoom_index());
    return 0;
}

int user_cmd_zoom(request_arguments /*arguments*/, malloc_text& /*reply*/) {
    return ac_toggle_zoom();
}

int user_cmd_nuc(request_arguments /*arguments*/, malloc_text& /*reply*/) {
    return ac_exec_nuc_cmd(1);
}

int user_cmd_pol(request_arguments /*arguments*/, malloc_text& /*reply*/) {
    return ac_toggle_lum();
}

int user_cmd_pip(request_arguments arguments, malloc_text& /*reply*/) {
    // A switch: any non-zero value selects the first factor, even 4.
    return ac_exec_pip_cmd(to_flag(arguments[0]) != 0 ? pip_values.front() : 0);
}

int user_cmd_set_nuc_type(request_arguments arguments, malloc_text& /*reply*/) {
    return ac_update_nuc_type(to_integer(arguments[0]));
}

int user_cmd_set_luminance(request_arguments arguments, malloc_text& /*reply*/) {
    return ac_exec_luminance_cmd(to_integer(arguments[0]));
}

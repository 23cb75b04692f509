// Client commands for the sight's controls and settings.
#include "api/handlers.h"
#include "api/values.h"
#include "config/cfg.h"
#include "control/actions_sight.h"
#include "control/hand_over.h"
#include "util/value_tables.h"

int user_cmd_disable_kbd(char* /*data*/, malloc_text& /*reply*/) {
    return ac_disable_kbd();
}

int user_cmd_get_config(char* /*data*/, malloc_text& reply) {
    reply = cfg_serialize_global_config();
    return 0;
}

int user_cmd_get_lum(char* /*data*/, malloc_text& reply) {
    reply = decimal_text(global_config.luminance);
    return 0;
}

int user_cmd_get_pip(char* /*data*/, malloc_text& reply) {
    reply = decimal_text(global_config.pip_mode);
    return 0;
}

int user_cmd_get_zoom(char* /*data*/, malloc_text& reply) {
    reply = decimal_text(ac_get_current_zoom_index());
    return 0;
}

int user_cmd_zoom(char* /*data*/, malloc_text& /*reply*/) {
    return ac_toggle_zoom();
}

int user_cmd_nuc(char* /*data*/, malloc_text& /*reply*/) {
    return ac_exec_nuc_cmd(1);
}

int user_cmd_pol(char* /*data*/, malloc_text& /*reply*/) {
    return ac_toggle_lum();
}

int user_cmd_pip(char* data, malloc_text& /*reply*/) {
    // A switch: whatever is not 0 means the first factor, 4 as well.
    return ac_exec_pip_cmd(to_flag(data) != 0 ? pip_values.front() : 0);
}

int user_cmd_set_nuc_type(char* data, malloc_text& /*reply*/) {
    return ac_update_nuc_type(to_integer(data));
}

int user_cmd_set_luminance(char* data, malloc_text& /*reply*/) {
    return ac_exec_luminance_cmd(to_integer(data));
}

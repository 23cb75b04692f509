// Client commands for the sight's controls and settings.
#include "api/handlers.h"
#include "api/values.h"
#include "config/cfg.h"
#include "control/actions_media.h"

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

int user_cmd_get_reticle(char* /*data*/, malloc_text& reply) {
    reply = decimal_text(global_config.reticle);
    return 0;
}

int user_cmd_unavailable(char* /*data*/, malloc_text& /*reply*/) {
    return 1;
}

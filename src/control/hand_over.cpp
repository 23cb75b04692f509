// Hand-over of the sight to an outside controller, for the rest of the run.
#include "control/hand_over.h"

#include "config/cfg.h"
#include "core/log.h"
#include "devices/acc.h"
#include "devices/kbd.h"
#include "osd/redis_message_broker.h"

namespace {

bool is_handed_over = false;

} // namespace

int ac_disable_kbd() {
    kbd_drop();
    acc_drop();
    is_handed_over = true;
    if (rmb_connect(global_config.redis_socket_file) == 0) {
        log_message(LEVEL_INFO, "Connected to redis: %s", global_config.redis_socket_file);
    }
    return 0;
}

bool ac_is_handed_over() {
    return is_handed_over;
}

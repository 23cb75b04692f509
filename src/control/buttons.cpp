// What the sight's buttons do.
#include "control/buttons.h"

#include "control/actions_sight.h"
#include "core/log.h"

namespace {

struct button_row {
    kbd_action action;
    int (*run)();
};

constexpr button_row button_rows[] = {
    {KBD_ACTION_NUC, [] { return ac_exec_nuc_cmd(1); }},
    {KBD_ACTION_ZOOM, ac_toggle_zoom},
    {KBD_ACTION_POL, ac_toggle_lum},
};

} // namespace

int process_kbd_event(const kbd_event& event) {
    if (event.released != 1) {
        return 0;
    }
    log_message(LEVEL_INFO, "kbd event: %d", event.action);
    for (const button_row& row : button_rows) {
        if (row.action == event.action) {
            return row.run();
        }
    }
    return 1;
}

// The sight's three buttons: key events of an input device, acted on when a button is released.
#include "devices/kbd.h"

#include "control/actions_sight.h"
#include "core/log.h"
#include "util/sysroot.h"

#include <cerrno>
#include <fcntl.h>
#include <linux/input.h>
#include <unistd.h>

namespace {

int kbd_file_desc = -1;
bool gone = false;

struct button_row {
    int key; // code of the kernel's input subsystem
    kbd_action action;
    int (*run)();
};

// A button is a row.
constexpr button_row button_rows[] = {
    {KEY_BACK, KBD_ACTION_NUC, [] { return ac_exec_nuc_cmd(1); }},
    {KEY_HOMEPAGE, KBD_ACTION_ZOOM, ac_toggle_zoom},
    {KEY_MENU, KBD_ACTION_POL, ac_toggle_lum},
};

} // namespace

int kbd_init(const char* device_path) {
    kbd_file_desc = open(sysroot_path(device_path).c_str(), O_RDONLY | O_CLOEXEC);
    gone = false;
    return kbd_file_desc;
}

int kbd_read(kbd_event& event) {
    if (kbd_file_desc < 0) {
        return 1;
    }
    input_event record{};
    const ssize_t count = read(kbd_file_desc, &record, sizeof record);
    gone = count == 0 || (count < 0 && errno != EINTR && errno != EAGAIN);
    // Less than a whole record is of no use either.
    if (count != static_cast<ssize_t>(sizeof record) || record.type != EV_KEY) {
        return 1;
    }
    event.released = record.value <= 0 ? 1 : 0;
    for (const button_row& row : button_rows) {
        if (row.key == record.code) {
            event.action = row.action;
            return 0;
        }
    }
    return -1;
}

bool kbd_is_gone() {
    return gone;
}

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

void kbd_close() {
    if (kbd_file_desc >= 0) {
        close(kbd_file_desc);
        kbd_file_desc = -1;
    }
}

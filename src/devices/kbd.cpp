// The sight's three buttons: the key events of an input device.
#include "devices/kbd.h"

#include "core/eventagg.h"
#include "util/sysroot.h"

#include <cerrno>
#include <fcntl.h>
#include <linux/input.h>
#include <unistd.h>

namespace {

int kbd_file_desc = -1;

struct key_row {
    int code; // key code of the input subsystem
    kbd_action action;
};

constexpr key_row key_rows[] = {
    {KEY_BACK, KBD_ACTION_NUC},
    {KEY_HOMEPAGE, KBD_ACTION_ZOOM},
    {KEY_MENU, KBD_ACTION_POL},
};

// Call right after read(): uses errno.
bool is_gone(ssize_t count) {
    return count == 0 || (count < 0 && errno != EINTR && errno != EAGAIN);
}

} // namespace

int kbd_init(const char* device_path) {
    kbd_file_desc = open(sysroot_path(device_path).c_str(), O_RDONLY | O_CLOEXEC);
    return kbd_file_desc;
}

kbd_result kbd_read(kbd_event& event) {
    if (kbd_file_desc < 0) {
        return KBD_NOTHING;
    }
    input_event record{};
    const ssize_t count = read(kbd_file_desc, &record, sizeof record);
    if (is_gone(count)) {
        return KBD_GONE;
    }
    // Ignore incomplete records.
    if (count != static_cast<ssize_t>(sizeof record) || record.type != EV_KEY) {
        return KBD_NOTHING;
    }
    event.released = record.value <= 0 ? 1 : 0;
    for (const key_row& row : key_rows) {
        if (row.code == record.code) {
            event.action = row.action;
            return KBD_KEY;
        }
    }
    return KBD_OTHER_KEY;
}

void kbd_drop() {
    if (ea_unregister_event(kbd_file_desc) == 0) {
        kbd_close();
    }
}

void kbd_close() {
    if (kbd_file_desc >= 0) {
        close(kbd_file_desc);
        kbd_file_desc = -1;
    }
}

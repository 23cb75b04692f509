// The sight's three buttons: key events of an input device, acted on when a button is released.
#pragma once

enum kbd_action : int {
    KBD_ACTION_NUC = 0,
    KBD_ACTION_ZOOM = 1,
    KBD_ACTION_POL = 2,
};

struct kbd_event {
    int released; // 1 released, 0 pressed or repeated
    int action;   // kbd_action
};

// Opens the event device. Its descriptor, owned by this module, or negative with errno set.
[[nodiscard]] int kbd_init(const char* device_path);

// Reads one record. 0 for one of the three keys; 1 when there was nothing usable; -1 for another
// key.
[[nodiscard]] int kbd_read(kbd_event& event);

// True once reading showed that the device is gone: it stays readable for ever then.
[[nodiscard]] bool kbd_is_gone();

// Runs the action of a released button. 0 when there was nothing to do or it succeeded, else the
// action's result.
[[nodiscard]] int process_kbd_event(const kbd_event& event);

// Closes the device when it is open.
void kbd_close();

// The sight's three buttons: the key events of an input device.
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

// Result of reading one record.
enum kbd_result : int {
    KBD_KEY = 0,        // an event of one of the three keys
    KBD_NOTHING = 1,    // nothing usable
    KBD_OTHER_KEY = -1, // `released` is set, `action` is not
    KBD_GONE = 2,       // the device is gone; its descriptor stays readable until dropped
};

// Opens the event device. Returns its descriptor, owned by this module, or a negative value with
// errno set.
[[nodiscard]] int kbd_init(const char* device_path);

[[nodiscard]] kbd_result kbd_read(kbd_event& event);

// Unregisters and closes the device. Does nothing if it is not registered.
void kbd_drop();

// Closes the device if it is open.
void kbd_close();

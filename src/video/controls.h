// Acting on running pipes: snapshot, overlay, microphone factor, encoding type.
#pragma once

#include <cstdint>

// Writes what the display shows as a JPEG file. 0; 1 when there is no display pipe or the file
// can't be written. A display without a picture, or one that can't be converted, is an ERROR.
[[nodiscard]] int gstvideo_takesnapshot(const char* path);

// What tells the picture that the live display shows from the one of a second ago: at least one of
// the two differs.
struct picture_mark {
    std::uint64_t stamp = 0;   // ns, of the buffer
    std::uintptr_t buffer = 0; // its address, 0 while there is no picture
    bool operator==(const picture_mark&) const = default;
};
[[nodiscard]] picture_mark gstvideo_shown_picture();

// Shows (non-zero) or hides the overlay, also one that is built later; 0 always.
[[nodiscard]] int gstvideo_show_overlay(int show);

// True once for each overlay that was built since the last call: its scene knows nothing of the
// sight's state yet. It is hidden if gstvideo_show_overlay hid the one before it.
[[nodiscard]] bool gstvideo_take_new_overlay();

// Hands "object.property:value" to the overlay's scene; 0 always.
int gstvideo_set_qml_param(const char* object, const char* property, const char* value);

// Takes the microphone's volume, 0..100, also for a running audio branch. 0; 1 with a warning when
// out of range.
[[nodiscard]] int gstvideo_set_microphone_volume(int volume);

// Brings the amplifier of a running audio branch to the volume in force.
void apply_microphone_volume();

// Takes the encoding type, unchecked. 0; 1 while recording or streaming over TCP.
[[nodiscard]] int gstvideo_change_enc_type(int type);

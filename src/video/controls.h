// Controls for running pipes: snapshot, overlay, microphone volume, encoding type.
#pragma once

#include <cstdint>

// Writes the displayed picture as a JPEG file. Returns 0; 1 without a display pipe, or when the
// file can't be written. A display without a picture, or a failing conversion, is an ERROR.
[[nodiscard]] int gstvideo_takesnapshot(const char* path);

// Identifies the picture on the live display: of two different pictures, at least one field
// differs.
struct picture_mark {
    std::uint64_t stamp = 0;   // ns, of the buffer
    std::uintptr_t buffer = 0; // its address; 0 without a picture
    bool operator==(const picture_mark&) const = default;
};
[[nodiscard]] picture_mark gstvideo_shown_picture();

// Shows (non-zero) or hides the overlay, including later ones. Always returns 0.
[[nodiscard]] int gstvideo_show_overlay(int show);

// True once for each overlay built since the last call: its scene doesn't know the sight's state
// yet. A new overlay is hidden if gstvideo_show_overlay hid the previous one.
[[nodiscard]] bool gstvideo_take_new_overlay();

// Sends "object.property:value" to the overlay's scene. Always returns 0.
int gstvideo_set_qml_param(const char* object, const char* property, const char* value);

// Sets the microphone volume, 0..100, also of a running audio branch. Returns 0; 1 with a warning
// when out of range.
[[nodiscard]] int gstvideo_set_microphone_volume(int volume);

// Applies the current volume to the amplifier of a running audio branch.
void apply_microphone_volume();

// Sets the encoding type without checking its range. Returns 0; 1 while recording or streaming over
// TCP.
[[nodiscard]] int gstvideo_change_enc_type(int type);

// What the board's two encoders have in common here: a bin around stock elements, whose settings
// are numbers with names of the board's own. Its output has the segment and the stamps of its
// input.
#pragma once

#include <gst/gst.h>

#include <array>
#include <span>

namespace sim {

// The values of an encoder's settings, in the order of its rows.
inline constexpr std::size_t ENCODER_SETTINGS_MAX = 4;
using encoder_values = std::array<gint, ENCODER_SETTINGS_MAX>;

// A property. `apply` hands its value on to the encoding element; it is called when the bin is made
// and with each change, from whatever thread makes it.
struct encoder_setting {
    const char* name;
    const char* text;
    gint min;
    gint max;
    gint initial;
    void (*apply)(GstElement* encoder, const encoder_values& values);
    GType (*choices)() = nullptr; // an enumeration in place of the range
};

// What tells one encoder from another; it must live as long as the process.
struct encoder_kind {
    const char* chain;     // as for gst-launch; the encoding element is called "encoder"
    const char* sink_caps; // what it takes, nothing else that the chain would
    const char* src_caps;
    const char* kept_field; // of the input's caps, which the output shares; null: none
    std::span<const encoder_setting> settings; // at most ENCODER_SETTINGS_MAX
};

} // namespace sim

struct SimEncoderBin {
    GstBin parent;
    sim::encoder_values values; // under the object lock
    GstElement* encoder;        // borrowed from the bin; null when an element is missing
    GError* failure;            // owned; why there is no encoder
    // Streaming thread only.
    GstSegment segment;      // of the input
    GstClockTimeDiff offset; // what the encoding element adds to stamps
};

struct SimEncoderBinClass {
    GstBinClass parent_class;
    const sim::encoder_kind* kind;
};

// Abstract: an encoder is a subclass with a kind. Where an element of its chain is missing, the
// instance can be linked and set up, but refuses to leave NULL and posts an error that says why.
GType sim_encoder_bin_get_type();

namespace sim {

// For the subclass's class_init: its pads and properties.
void set_encoder_kind(SimEncoderBinClass* klass, const encoder_kind& kind);

} // namespace sim

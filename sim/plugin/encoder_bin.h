// Base of the board's two encoders: a bin around stock elements, with the board's numeric settings.
// Output has the segment and time stamps of the input.
#pragma once

#include <gst/gst.h>

#include <array>
#include <span>

namespace sim {

// Values of an encoder's settings, in row order.
inline constexpr std::size_t ENCODER_SETTINGS_MAX = 4;
using encoder_values = std::array<gint, ENCODER_SETTINGS_MAX>;

// A property. `apply` sets its value on the encoding element; called at creation and on each
// change, by any thread.
struct encoder_setting {
    const char* name;
    const char* text;
    gint min;
    gint max;
    gint initial;
    void (*apply)(GstElement* encoder, const encoder_values& values);
    GType (*choices)() = nullptr; // an enumeration instead of the range
};

// Describes an encoder; must be static.
struct encoder_kind {
    const char* chain;     // in gst-launch syntax; the encoding element is named "encoder"
    const char* sink_caps; // the only accepted input, even if the chain accepts more
    const char* src_caps;
    const char* kept_field; // field of the input's caps copied to the output; null: none
    std::span<const encoder_setting> settings; // at most ENCODER_SETTINGS_MAX
};

} // namespace sim

struct SimEncoderBin {
    GstBin parent;
    sim::encoder_values values; // under the object lock
    GstElement* encoder;        // borrowed from the bin; null when an element is missing
    GError* failure;            // owned; why the encoder can't be created
    // Streaming thread only.
    GstSegment segment;      // of the input
    GstClockTimeDiff offset; // added to stamps by the encoding element
};

struct SimEncoderBinClass {
    GstBinClass parent_class;
    const sim::encoder_kind* kind;
};

// Abstract: an encoder is a subclass with a kind. If an element of its chain is missing, the
// instance can be linked and configured, but refuses to leave NULL and posts an error.
GType sim_encoder_bin_get_type();

namespace sim {

// Call in the subclass's class_init: adds pads and properties.
void set_encoder_kind(SimEncoderBinClass* klass, const encoder_kind& kind);

} // namespace sim

// imxmp3audioenc: the board's MP3 encoder, with LAME at work inside.
#include "element_class.h"
#include "elements.h"
#include "encoder_bin.h"

#include <algorithm>
#include <cstdlib>

namespace {

using SimMp3Encoder = SimEncoderBin;
using SimMp3EncoderClass = SimEncoderBinClass;

// What LAME knows, in kbit/s.
constexpr gint standard_rates[] = {8,  16,  24,  32,  40,  48,  56,  64, 80,
                                   96, 112, 128, 160, 192, 224, 256, 320};

void apply_bitrate(GstElement* encoder, const sim::encoder_values& values) {
    const gint nearest = *std::ranges::min_element(
        standard_rates, {}, [&](gint rate) { return std::abs(rate - values[0]); });
    g_object_set(encoder, "bitrate", nearest, nullptr);
}

constexpr sim::encoder_setting settings[] = {
    {"bitrate", "Bit rate in kbit/s; the nearest one that MP3 has is taken", 0, G_MAXINT, 128,
     apply_bitrate},
};

constexpr sim::encoder_kind kind{
    .chain = "audioconvert ! audioresample ! lamemp3enc name=encoder target=bitrate cbr=true",
    .sink_caps = "audio/x-raw",
    .src_caps = "audio/mpeg, mpegversion=1, layer=3",
    .settings = settings,
};

} // namespace

G_DEFINE_TYPE(SimMp3Encoder, sim_imxmp3audioenc, sim_encoder_bin_get_type())

static void sim_imxmp3audioenc_init(SimMp3Encoder*) {}

static void sim_imxmp3audioenc_class_init(SimMp3EncoderClass* klass) {
    sim::describe(GST_ELEMENT_CLASS(klass), "MP3 encoder", "Codec/Encoder/Audio",
                  "Encodes sound in place of the board's encoder");
    sim::set_encoder_kind(klass, kind);
}

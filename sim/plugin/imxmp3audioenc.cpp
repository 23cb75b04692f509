// imxmp3audioenc: the board's MP3 encoder, implemented with LAME.
#include "element_class.h"
#include "elements.h"
#include "encoder_bin.h"

namespace {

using SimMp3Encoder = SimEncoderBin;
using SimMp3EncoderClass = SimEncoderBinClass;

GType bitrate_type() {
    static const GEnumValue rates[] = {
        {32, "32 kbit/s", "32"},    {40, "40 kbit/s", "40"},    {48, "48 kbit/s", "48"},
        {56, "56 kbit/s", "56"},    {64, "64 kbit/s", "64"},    {80, "80 kbit/s", "80"},
        {96, "96 kbit/s", "96"},    {112, "112 kbit/s", "112"}, {128, "128 kbit/s", "128"},
        {160, "160 kbit/s", "160"}, {192, "192 kbit/s", "192"}, {224, "224 kbit/s", "224"},
        {256, "256 kbit/s", "256"}, {320, "320 kbit/s", "320"}, {0, nullptr, nullptr},
    };
    static const GType type = g_enum_register_static("SimMp3Bitrate", rates);
    return type;
}

void apply_bitrate(GstElement* encoder, const sim::encoder_values& values) {
    g_object_set(encoder, "bitrate", values[0], nullptr);
}

constexpr sim::encoder_setting settings[] = {
    {"bitrate", "Bit rate in kbit/s", 32, 320, 128, apply_bitrate, bitrate_type},
};

// Like the board's encoder, it converts nothing: the microphone must deliver exactly these caps.
constexpr sim::encoder_kind kind{
    .chain = "lamemp3enc name=encoder target=bitrate cbr=true",
    .sink_caps = "audio/x-raw,format=S16LE,layout=interleaved,channels=2,rate={32000,44100,48000}",
    .src_caps = "audio/mpeg,mpegversion=1,layer=3",
    .kept_field = "rate", // LAME alone would lower the rate at low bit rates
    .settings = settings,
};

} // namespace

G_DEFINE_TYPE(SimMp3Encoder, sim_imxmp3audioenc, sim_encoder_bin_get_type())

static void sim_imxmp3audioenc_init(SimMp3Encoder*) {}

static void sim_imxmp3audioenc_class_init(SimMp3EncoderClass* klass) {
    sim::describe(GST_ELEMENT_CLASS(klass), "MP3 encoder", "Codec/Encoder/Audio",
                  "Encodes sound like the board's encoder");
    sim::set_encoder_kind(klass, kind);
}

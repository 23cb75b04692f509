// imxvpuenc_h264: the H.264 encoder of the board's video unit, implemented with x264.
#include "element_class.h"
#include "elements.h"
#include "encoder_bin.h"

#include <gst/video/video.h>

#include <algorithm>
#include <string>

namespace {

using SimVpuEncoder = SimEncoderBin;
using SimVpuEncoderClass = SimEncoderBinClass;

enum setting : std::size_t { bitrate, gop_size, idr_interval, me_search_range };

// While running, the encoder can't switch between bit rate and quality.
void apply_bitrate(GstElement* encoder, const sim::encoder_values& values) {
    if (values[bitrate] == 0) {
        gst_util_set_object_arg(G_OBJECT(encoder), "pass", "qual");
        return;
    }
    gst_util_set_object_arg(G_OBJECT(encoder), "pass", "cbr");
    g_object_set(encoder, "bitrate", static_cast<guint>(values[bitrate]), nullptr);
}

// In x264 every key frame is an IDR frame, so the shorter distance counts. 0 means no limit.
void apply_key_distance(GstElement* encoder, const sim::encoder_values& values) {
    constexpr gint ENDLESS = 1 << 30; // x264's value for key frames on request only
    gint distance = ENDLESS;
    for (const gint limit : {values[gop_size], values[idr_interval]}) {
        distance = limit > 0 ? std::min(distance, limit) : distance;
    }
    g_object_set(encoder, "key-int-max", static_cast<guint>(distance), nullptr);
}

// The codes 0 to 3 mean 128, 64, 32 and 16 pixels.
void apply_search_range(GstElement* encoder, const sim::encoder_values& values) {
    const std::string options = "merange=" + std::to_string(128 >> values[me_search_range]);
    g_object_set(encoder, "option-string", options.c_str(), nullptr);
}

constexpr sim::encoder_setting settings[] = {
    {"bitrate", "Bit rate in kbit/s (0: constant quality)", 0, 2048000, 1024, apply_bitrate},
    {"gop-size", "Distance of key frames in frames (0: no limit)", 0, 32767, 16,
     apply_key_distance},
    {"idr-interval", "Maximum distance of IDR frames (0: the GOP size)", 0, G_MAXINT, 0,
     apply_key_distance},
    {"me-search-range", "Motion search range: 0 to 3 for 128, 64, 32 and 16 pixels", 0, 3, 0,
     apply_search_range},
};

// One thread per stream: encoding takes less than a tenth of real time, and two streams may run
// beside everything else. The preset's search method is limited to 16 pixels.
constexpr sim::encoder_kind kind{
    .chain = "x264enc name=encoder tune=zerolatency speed-preset=ultrafast me=umh threads=1",
    .sink_caps = GST_VIDEO_CAPS_MAKE("{ I420, NV12 }"),
    .src_caps = "video/x-h264,stream-format=byte-stream,alignment=au",
    .kept_field = nullptr,
    .settings = settings,
};

} // namespace

G_DEFINE_TYPE(SimVpuEncoder, sim_imxvpuenc_h264, sim_encoder_bin_get_type())

static void sim_imxvpuenc_h264_init(SimVpuEncoder*) {}

static void sim_imxvpuenc_h264_class_init(SimVpuEncoderClass* klass) {
    sim::describe(GST_ELEMENT_CLASS(klass), "VPU H.264 encoder", "Codec/Encoder/Video",
                  "Encodes video like the board's video unit");
    sim::set_encoder_kind(klass, kind);
}

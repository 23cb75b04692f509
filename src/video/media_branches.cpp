// The branches between the live view and the media outputs.
#include "video/media_branches.h"

#include "core/log.h"
#include "util/tools.h"
#include "video/pipe_slots.h"
#include "video/transport.h"

#include <algorithm>

namespace {

constexpr caps_text ENCODER_CAPS{
    "video/x-raw, width=1024, height=768, framerate=30/1, format=NV12"};

constexpr std::array outputs{PIPE_RECORD, PIPE_TCP_STREAM, PIPE_HTTP_STREAM};
// In the order they are ended.
constexpr std::array branches{PIPE_TRANSFORMER, PIPE_RECORD_VIDEO_ENC, PIPE_STREAM_VID_ENC,
                              PIPE_AUDIO_ENC};

// The encoders take their input in another format than the one the transformer begins with.
void switch_transformer_to_encoder_caps() {
    if (const gst_owned<GstElement> filter = handle_get(element_handle::ipu_caps)) {
        const gst_caps_owned caps{gst_caps_from_string(ENCODER_CAPS.text)};
        g_object_set(filter.get(), "caps", caps.get(), nullptr);
    }
}

// Before the first audio encoder. A board where it fails records all the same.
void set_microphone_rate_once() {
    static int audio_init = 0;
    if (audio_init == 0) {
        static_cast<void>(exec_system_cmd("amixer -c 0 set 'DMic Rate' '128x'"));
        audio_init = 1;
    }
}

// --- Video transformer -----------------------------------------------------------------------

constexpr std::array xformer_elements = std::to_array<element_row>({
    {"interpipesrc", "vid-xform-ipsrc"},
    {"queue", "xq"},
    {"imxipuvideotransform", "ipu-transform"},
    {"capsfilter", "ipu-caps", element_handle::ipu_caps},
    {"interpipesink", VID_XFORM_SINK},
});

constexpr std::array xformer_properties =
    join_rows(listens_to("vid-xform-ipsrc", VIDEO_SRC_SINK, STREAM_SYNC_COMPENSATE),
              std::to_array<property_row>({
                  {"xq", "leaky", LEAKY_DOWNSTREAM},
                  {"ipu-caps", "caps",
                   caps_text{"video/x-raw, width=1024, height=768, framerate=30/1, format=I420"}},
                  {VID_XFORM_SINK, "sync", false},
                  {VID_XFORM_SINK, "async", false},
              }));

constexpr pipe_table xformer_table{
    .elements = xformer_elements,
    .creation = {},
    .properties = xformer_properties,
    .create_failed = "One element could not be created in the video xformer.",
    .link_failed = "Failed to link elements in the video xformer.",
    .creating = "Creating video transformer... ",
};
static_assert(pipe_table_is_sound(xformer_table));

// --- Recording video encoder -----------------------------------------------------------------

constexpr std::array record_enc_elements = std::to_array<element_row>({
    {"interpipesrc", "record-enc-ipsrc"},
    {"queue", "rec-enc-queue-before"},
    {"imxvpuenc_h264", "rec-imxvpuenc"},
    {"h264parse", "rec-parser"},
    {"capsfilter", "vid-parser-caps"},
    {"interpipesink", REC_VID_ENC_SINK},
});

constexpr std::array record_enc_properties =
    join_rows(listens_to("record-enc-ipsrc", VID_XFORM_SINK, STREAM_SYNC_COMPENSATE),
              std::to_array<property_row>({
                  {"rec-enc-queue-before", "leaky", LEAKY_DOWNSTREAM},
                  {"rec-enc-queue-before", "max-size-buffers", 5},
                  {"rec-imxvpuenc", "bitrate", &video_config::record_enc_bitrate},
                  {"rec-imxvpuenc", "gop-size", &video_config::record_enc_gop},
                  {"rec-imxvpuenc", "me-search-range", &video_config::record_enc_search_range},
                  {"vid-parser-caps", "caps", caps_text{"video/x-h264, stream-format=avc"}},
                  {REC_VID_ENC_SINK, "sync", false},
                  {REC_VID_ENC_SINK, "async", false},
              }));

constexpr pipe_table record_enc_table{
    .elements = record_enc_elements,
    .creation = {},
    .properties = record_enc_properties,
    .create_failed = "One element could not be created in the record video enc.",
    .link_failed = "Failed to link elements in the record video enc.",
    .creating = "Creating record video encoding..",
    .before_linking = switch_transformer_to_encoder_caps,
};
static_assert(pipe_table_is_sound(record_enc_table));

// --- Streaming video encoder -----------------------------------------------------------------

constexpr std::array stream_enc_elements = std::to_array<element_row>({
    {"interpipesrc", "stream-media-ipsrc"},
    {"imxvpuenc_h264", "stream-imxvpuenc"},
    {"h264parse", "stream-rec-parser"},
    {"interpipesink", STREAM_VID_ENC_SINK},
});

constexpr std::array stream_enc_properties =
    join_rows(listens_to("stream-media-ipsrc", VID_XFORM_SINK, STREAM_SYNC_PASS_THROUGH),
              std::to_array<property_row>({
                  {"stream-imxvpuenc", "bitrate", &video_config::stream_enc_bitrate},
                  {"stream-imxvpuenc", "gop-size", &video_config::stream_enc_gop},
                  {"stream-imxvpuenc", "idr-interval", &video_config::stream_enc_idr},
                  {"stream-imxvpuenc", "me-search-range", &video_config::stream_enc_search_range},
                  {STREAM_VID_ENC_SINK, "max-buffers", 0}, // no limit
                  {STREAM_VID_ENC_SINK, "sync", true},
                  {STREAM_VID_ENC_SINK, "async", false},
              }));

constexpr pipe_table stream_enc_table{
    .elements = stream_enc_elements,
    .creation = {},
    .properties = stream_enc_properties,
    .create_failed = "One element could not be created in the stream video enc.",
    .link_failed = "Failed to link elements in the stream video enc.",
    .creating = "Creating stream video encoding.. ",
    .before_linking = switch_transformer_to_encoder_caps,
};
static_assert(pipe_table_is_sound(stream_enc_table));

// --- Audio encoder ---------------------------------------------------------------------------

constexpr std::array audio_enc_elements = std::to_array<element_row>({
    {"alsasrc", "audio-src"},
    {"audioamplify", "audio-amp", element_handle::audio_amp},
    {"imxmp3audioenc", "audio-enc"},
    {"mpegaudioparse", "audio-parse"},
    {"queue", "queue-audio"},
    {"interpipesink", AUD_ENC_SINK},
});

constexpr std::array audio_enc_properties = std::to_array<property_row>({
    {"audio-src", "device", "hw:0,0"},
    {"audio-amp", "amplification", &video_config::mic_amplification},
    {"audio-enc", "bitrate", &video_config::aud_enc_bitrate},
    {AUD_ENC_SINK, "sync", false},
    {AUD_ENC_SINK, "async", false},
});

constexpr pipe_table audio_enc_table{
    .elements = audio_enc_elements,
    .creation = {},
    .properties = audio_enc_properties,
    .create_failed = "Element could not be created in the audio encoding pipe.",
    .link_failed = "Failed to link elements in the audio encoding bin",
    .creating = "Creating audio encoding.. ",
    .preparing = set_microphone_rate_once,
};
static_assert(pipe_table_is_sound(audio_enc_table));

int make_vid_xformer(GstElement* pipeline) {
    return build_pipe(pipeline, xformer_table);
}

int make_record_vid_enc(GstElement* pipeline) {
    return build_pipe(pipeline, record_enc_table);
}

int make_stream_vid_enc(GstElement* pipeline) {
    return build_pipe(pipeline, stream_enc_table);
}

int make_audio_enc(GstElement* pipeline) {
    return build_pipe(pipeline, audio_enc_table);
}

// --- Outputs ---------------------------------------------------------------------------------

bool is_known(int enc_type) {
    if (enc_type >= 0 && enc_type < static_cast<int>(ENC_TYPE_COUNT)) {
        return true;
    }
    log_message(LEVEL_ERROR, "Unknown encoding type");
    return false;
}

bool is_running(int pipe) {
    return is_created(pipe) != 0 && !is_ending(pipe);
}

// How many outputs run. Asked, not counted: so each goes away once, whether it is stopped, stopped
// again, killed, or ends of its own accord.
std::ptrdiff_t media_branches() {
    return std::ranges::count_if(outputs, is_running);
}

// The last output takes the branches with it, however it ends, and of whatever type it was: the
// type may have changed since it was started.
void end_branches_with_last_output(int pipe) {
    const bool is_output = std::ranges::find(outputs, pipe) != outputs.end();
    if (is_output && media_branches() == (is_running(pipe) ? 1 : 0)) {
        std::ranges::for_each(branches, gstvideo_stop_pipe);
    }
}

// An output that joined a pipe on its way out would be left without input.
bool refuse_when_ending(int pipe) {
    if (is_ending(pipe)) {
        log_message(LEVEL_WARN, "Pipe %d is still ending, try again in a moment", pipe);
        return true;
    }
    return false;
}

bool may_start(const media_output& output, std::span<const media_branch> needed) {
    return !refuse_when_ending(output.pipe) &&
           std::ranges::none_of(needed, refuse_when_ending, &media_branch::pipe);
}

// The branches are ended by the observer, before the output's own end-of-stream goes out.
int destroy_media_pipe(int enc_type, int output) {
    if (!is_known(enc_type)) {
        return -1;
    }
    send_eos(output);
    return 0;
}

} // namespace

bus_handle create_media_vid_xformer() {
    return start_pipe(PIPE_TRANSFORMER, make_vid_xformer);
}

bus_handle create_media_record_vid_enc() {
    return start_pipe(PIPE_RECORD_VIDEO_ENC, make_record_vid_enc);
}

bus_handle create_media_stream_vid_enc() {
    return start_pipe(PIPE_STREAM_VID_ENC, make_stream_vid_enc);
}

bus_handle create_media_audio_enc() {
    return start_pipe(PIPE_AUDIO_ENC, make_audio_enc);
}

std::optional<bus_list> start_media_output(const media_output& output, pipe_argument target) {
    if (!is_known(configs.enc_type)) {
        return std::nullopt;
    }
    const auto needed = output.branches.at(static_cast<std::size_t>(configs.enc_type));
    if (needed.empty() || !may_start(output, needed)) {
        return std::nullopt;
    }
    observe_ends(end_branches_with_last_output);
    bus_list list{};
    auto entry = list.begin();
    for (const media_branch& branch : needed) {
        *entry++ = branch.create();
    }
    *entry = output.create(output.pipe, configs.enc_type, target);
    const auto failed = [](const bus_handle& handle) { return handle.fd < 0; };
    return std::ranges::any_of(list, failed) ? std::nullopt : std::optional{list};
}

int stop_media_output(int output) {
    return is_created(output) != 0 ? destroy_media_pipe(configs.enc_type, output) : 0;
}

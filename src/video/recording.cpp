// The recording: a series of MP4 files of limited length.
#include "video/recording.h"

#include "video/muxed_output.h"
#include "video/pipe_slots.h"
#include "video/record_file.h"
#include "video/transport.h"

namespace {

constexpr const char* CREATE_FAILED = "One element could not be created in the record pipe.";
constexpr const char* LINK_FAILED = "Failed to link elements in the record pipe";

constexpr std::array record_branches{VIDEO_TRANSFORMER, RECORD_VIDEO_ENC, AUDIO_ENC};
constexpr std::array record_video_branches{VIDEO_TRANSFORMER, RECORD_VIDEO_ENC};
constexpr std::array record_audio_branches{AUDIO_ENC};

// --- Muxer and files; argument 0 is the location pattern -------------------------------------

constexpr std::array record_elements = std::to_array<element_row>({
    {.factory = "mp4mux", .name = "rec-mux", .inside_another = true},
    {.factory = "filesink", .name = "rec-sink", .inside_another = true},
    {.factory = "splitmuxsink", .name = "vid-sink"},
});

constexpr std::array record_properties = std::to_array<property_row>({
    {"rec-sink", "sync", false},
    {"rec-sink", "async", false},
    {"vid-sink", "max-size-time", &video_config::record_max_len_ns},
    {"vid-sink", "sink", element_named{"rec-sink"}},
    {"vid-sink", "location", path_argument{0}},
    {"vid-sink", "muxer", element_named{"rec-mux"}},
});

constexpr pipe_table record_table{
    .elements = record_elements,
    .creation = {},
    .properties = record_properties,
    .create_failed = CREATE_FAILED,
    .link_failed = LINK_FAILED,
    .creating = "Creating record branch.. ",
};
static_assert(pipe_table_is_sound(record_table));

// --- Inputs ----------------------------------------------------------------------------------

constexpr std::array video_elements = std::to_array<element_row>({
    {"interpipesrc", "rec-vid-ipsrc"},
});

constexpr std::array video_properties =
    listens_to("rec-vid-ipsrc", REC_VID_ENC_SINK, STREAM_SYNC_PASS_THROUGH);

constexpr std::array audio_elements = std::to_array<element_row>({
    {"interpipesrc", "rec-aud-ipsrc"},
});

constexpr std::array audio_properties =
    listens_to("rec-aud-ipsrc", AUD_ENC_SINK, STREAM_SYNC_PASS_THROUGH);

constexpr std::array record_inputs = std::to_array<muxer_input>({
    {ENC_TYPE_AUDIO,
     {video_elements, {}, video_properties, CREATE_FAILED, LINK_FAILED},
     "video",
     "video",
     "Failed to link video pad of the record mux.\n"},
    {ENC_TYPE_VIDEO,
     {audio_elements, {}, audio_properties, CREATE_FAILED, LINK_FAILED},
     "audio_%u",
     "audio_%u",
     "Failed to link audio pad of the record mux.\n"},
});
static_assert(pipe_table_is_sound(record_inputs[0].chain) &&
              pipe_table_is_sound(record_inputs[1].chain));

constexpr muxed_output record_pipe{record_table, "vid-sink", record_inputs};

int make_record(GstElement* pipeline, int enc_type, pipe_argument location_pattern) {
    return build_muxed_output(pipeline, record_pipe, enc_type, location_pattern);
}

bus_handle create_media_pipe_record(int pipe, int enc_type, pipe_argument location_pattern) {
    return start_pipe(pipe, [enc_type, location_pattern](GstElement* pipeline) {
        return make_record(pipeline, enc_type, location_pattern);
    });
}

constexpr media_output record_output{
    PIPE_RECORD,
    create_media_pipe_record,
    {record_branches, record_video_branches, record_audio_branches},
};

} // namespace

std::optional<bus_list> gstvideo_start_record(const char* location_pattern) {
    std::optional<bus_list> list = start_media_output(record_output, location_pattern);
    if (list) {
        record_file_set(location_pattern);
    }
    return list;
}

int gstvideo_stop_record() {
    return stop_media_output(PIPE_RECORD);
}

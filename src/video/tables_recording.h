// The recording: a series of MP4 files of limited length. Included by pipes.cpp only.
#pragma once

#include "video/pipes.h"
#include "video/transport.h"

constexpr const char* RECORD_CREATE_FAILED = "One element could not be created in the record pipe.";

// --- Muxer and files -------------------------------------------------------------------------

constexpr std::array record_elements = std::to_array<element_row>({
    {.factory = "mp4mux", .name = "rec-mux", .inside_another = true},
    {.factory = "filesink",
     .name = "rec-sink",
     .handle = element_handle::record_sink,
     .inside_another = true},
    {.factory = "splitmuxsink", .name = "vid-sink"},
});

constexpr std::array record_properties = std::to_array<property_row>({
    {.element = "rec-sink", .property = "sync", .value = false},
    {.element = "rec-sink", .property = "async", .value = false},
    {.element = "vid-sink", .property = "max-size-time", .value = &video_config::record_max_len_ns},
    {.element = "vid-sink", .property = "sink", .value = element_named{"rec-sink"}},
    {.element = "vid-sink",
     .property = "location",
     .value = given_pattern{&start_arguments::location_pattern}},
    {.element = "vid-sink", .property = "muxer", .value = element_named{"rec-mux"}},
});

// --- Inputs ----------------------------------------------------------------------------------

constexpr std::array record_video_elements = std::to_array<element_row>({
    {.factory = INTER_PIPE_SOURCE, .name = "rec-vid-ipsrc"},
});

constexpr std::array record_video_properties =
    listens_to("rec-vid-ipsrc", REC_VID_ENC_SINK, STREAM_SYNC_PASS_THROUGH);

constexpr std::array record_audio_elements = std::to_array<element_row>({
    {.factory = INTER_PIPE_SOURCE, .name = "rec-aud-ipsrc"},
});

constexpr std::array record_audio_properties =
    listens_to("rec-aud-ipsrc", AUD_ENC_SINK, STREAM_SYNC_PASS_THROUGH);

constexpr std::array record_inputs = std::to_array<muxer_input>({
    {.carries = medium::video,
     .begins_at_key_frame = true,
     .chain = {.elements = record_video_elements,
               .properties = record_video_properties,
               .create_failed = RECORD_CREATE_FAILED},
     .pad_template = "video",
     .pad_name = "video",
     .pad_failed = "Failed to link video pad of the record mux.\n"},
    {.carries = medium::sound,
     .chain = {.elements = record_audio_elements,
               .properties = record_audio_properties,
               .create_failed = RECORD_CREATE_FAILED},
     .pad_template = "audio_%u",
     .pad_name = "audio_%u",
     .pad_failed = "Failed to link audio pad of the record mux.\n"},
});

// --- Pipe ------------------------------------------------------------------------------------

constexpr std::array<pipe_enum, 3> record_branches{PIPE_TRANSFORMER, PIPE_RECORD_VIDEO_ENC,
                                                   PIPE_AUDIO_ENC};

constexpr std::array recording_pipes = std::to_array<pipe_row>({
    {
        .number = PIPE_RECORD,
        .short_name = "record",
        .pipeline_name = "record-pipe",
        .purpose = "the recording",
        .chain = {.elements = record_elements,
                  .properties = record_properties,
                  .create_failed = RECORD_CREATE_FAILED},
        .creating = "Creating record branch.. ",
        .branches = record_branches,
        .muxer = "vid-sink",
        .inputs = record_inputs,
        .records = true,
        .failure = failure_kind::storage,
    },
});

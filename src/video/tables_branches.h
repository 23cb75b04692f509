// The branches between live view and media outputs, one pipe each: scale the picture, encode it for
// recording or streaming, encode the microphone's sound. Included by pipes.cpp only.
#pragma once

#include "video/pipes.h"
#include "video/transport.h"

// The encoders' input format differs from the transformer's first one.
constexpr caps_text TRANSFORMER_CAPS{
    "video/x-raw, width=1024, height=768, framerate=30/1, format=I420"};
constexpr caps_text ENCODER_CAPS{
    "video/x-raw, width=1024, height=768, framerate=30/1, format=NV12"};

constexpr std::array encoder_format = std::to_array<remote_property>({
    {.handle = element_handle::ipu_caps, .property = "caps", .caps = ENCODER_CAPS},
});

// --- Video transformer -----------------------------------------------------------------------

constexpr std::array transformer_elements = std::to_array<element_row>({
    {.factory = INTER_PIPE_SOURCE, .name = "vid-xform-ipsrc"},
    {.factory = "queue", .name = "xq"},
    {.factory = "imxipuvideotransform", .name = "ipu-transform"},
    {.factory = "capsfilter", .name = "ipu-caps", .handle = element_handle::ipu_caps},
    {.factory = INTER_PIPE_SINK, .name = VID_XFORM_SINK},
});

constexpr std::array transformer_properties =
    join_rows(listens_to("vid-xform-ipsrc", VIDEO_SRC_SINK, STREAM_SYNC_COMPENSATE),
              std::to_array<property_row>({
                  {.element = "xq", .property = "leaky", .value = LEAKY_DOWNSTREAM},
                  {.element = "ipu-caps", .property = "caps", .value = TRANSFORMER_CAPS},
                  {.element = VID_XFORM_SINK, .property = "sync", .value = false},
                  {.element = VID_XFORM_SINK, .property = "async", .value = false},
              }),
              holds_few_pictures("vid-xform-ipsrc"));

// --- Recording video encoder -----------------------------------------------------------------

constexpr std::array record_enc_elements = std::to_array<element_row>({
    {.factory = INTER_PIPE_SOURCE, .name = "record-enc-ipsrc"},
    {.factory = "queue", .name = "rec-enc-queue-before"},
    {.factory = "imxvpuenc_h264", .name = "rec-imxvpuenc"},
    {.factory = "h264parse", .name = "rec-parser"},
    {.factory = "capsfilter", .name = "vid-parser-caps"},
    {.factory = INTER_PIPE_SINK, .name = REC_VID_ENC_SINK},
});

constexpr std::array record_enc_properties = join_rows(
    listens_to("record-enc-ipsrc", VID_XFORM_SINK, STREAM_SYNC_COMPENSATE),
    std::to_array<property_row>({
        {.element = "rec-enc-queue-before", .property = "leaky", .value = LEAKY_DOWNSTREAM},
        {.element = "rec-enc-queue-before", .property = "max-size-buffers", .value = 5},
        {.element = "rec-imxvpuenc",
         .property = "bitrate",
         .value = &video_config::record_enc_bitrate},
        {.element = "rec-imxvpuenc",
         .property = "gop-size",
         .value = &video_config::record_enc_gop},
        {.element = "rec-imxvpuenc",
         .property = "me-search-range",
         .value = &video_config::record_enc_search_range},
        {.element = "vid-parser-caps",
         .property = "caps",
         .value = caps_text{"video/x-h264, stream-format=avc"}},
        {.element = REC_VID_ENC_SINK, .property = "sync", .value = false},
        {.element = REC_VID_ENC_SINK, .property = "async", .value = false},
    }),
    holds_few_pictures("record-enc-ipsrc"));

// --- Streaming video encoder -----------------------------------------------------------------

constexpr std::array stream_enc_elements = std::to_array<element_row>({
    {.factory = INTER_PIPE_SOURCE, .name = "stream-media-ipsrc"},
    {.factory = "imxvpuenc_h264", .name = "stream-imxvpuenc"},
    {.factory = "h264parse", .name = "stream-rec-parser"},
    {.factory = INTER_PIPE_SINK, .name = STREAM_VID_ENC_SINK},
});

constexpr std::array stream_enc_properties =
    join_rows(listens_to("stream-media-ipsrc", VID_XFORM_SINK, STREAM_SYNC_PASS_THROUGH),
              std::to_array<property_row>({
                  {.element = "stream-imxvpuenc",
                   .property = "bitrate",
                   .value = &video_config::stream_enc_bitrate},
                  {.element = "stream-imxvpuenc",
                   .property = "gop-size",
                   .value = &video_config::stream_enc_gop},
                  {.element = "stream-imxvpuenc",
                   .property = "idr-interval",
                   .value = &video_config::stream_enc_idr},
                  {.element = "stream-imxvpuenc",
                   .property = "me-search-range",
                   .value = &video_config::stream_enc_search_range},
                  {.element = STREAM_VID_ENC_SINK, .property = "max-buffers", .value = NO_LIMIT},
                  {.element = STREAM_VID_ENC_SINK, .property = "sync", .value = true},
                  {.element = STREAM_VID_ENC_SINK, .property = "async", .value = false},
              }),
              holds_few_pictures("stream-media-ipsrc"), in_time(STREAM_VID_ENC_SINK));

// --- Audio encoder ---------------------------------------------------------------------------

constexpr std::array audio_enc_elements = std::to_array<element_row>({
    {.factory = "alsasrc", .name = "audio-src"},
    {.factory = "audioamplify", .name = "audio-amp", .handle = element_handle::audio_amp},
    {.factory = "imxmp3audioenc", .name = "audio-enc"},
    {.factory = "mpegaudioparse", .name = "audio-parse"},
    {.factory = "queue", .name = "queue-audio"},
    {.factory = INTER_PIPE_SINK, .name = AUD_ENC_SINK},
});

constexpr std::array audio_enc_properties = std::to_array<property_row>({
    {.element = "audio-src", .property = "device", .value = "hw:0,0"},
    {.element = "audio-amp",
     .property = "amplification",
     .value = &video_config::mic_amplification},
    {.element = "audio-enc", .property = "bitrate", .value = &video_config::aud_enc_bitrate},
    {.element = AUD_ENC_SINK, .property = "sync", .value = false},
    {.element = AUD_ENC_SINK, .property = "async", .value = false},
});

// --- Pipes, in the order they are ended ------------------------------------------------------

constexpr std::array branch_pipes = std::to_array<pipe_row>({
    {
        .number = PIPE_TRANSFORMER,
        .short_name = "transformer",
        .pipeline_name = "vidtransformer-pipe",
        .purpose = "scaled video for the encoders",
        .chain = {.elements = transformer_elements,
                  .properties = transformer_properties,
                  .create_failed = "One element could not be created in the video xformer.",
                  .link_failed = "Failed to link elements in the video xformer."},
        .creating = "Creating video transformer... ",
        .carries = medium::video,
    },
    {
        .number = PIPE_RECORD_VIDEO_ENC,
        .short_name = "record_video_enc",
        .pipeline_name = "record-videnc-pipe",
        .purpose = "video encoder of recordings",
        .chain = {.elements = record_enc_elements,
                  .properties = record_enc_properties,
                  .create_failed = "One element could not be created in the record video enc.",
                  .link_failed = "Failed to link elements in the record video enc."},
        .creating = "Creating record video encoding..",
        .remote_properties = encoder_format,
        .carries = medium::video,
    },
    {
        .number = PIPE_STREAM_VID_ENC,
        .short_name = "stream_vid_enc",
        .pipeline_name = "stream-videnc-pipe",
        .purpose = "video encoder of streams",
        .chain = {.elements = stream_enc_elements,
                  .properties = stream_enc_properties,
                  .create_failed = "One element could not be created in the stream video enc.",
                  .link_failed = "Failed to link elements in the stream video enc."},
        .creating = "Creating stream video encoding.. ",
        .remote_properties = encoder_format,
        .carries = medium::video,
    },
    {
        .number = PIPE_AUDIO_ENC,
        .short_name = "audio_enc",
        .pipeline_name = "audenc-pipe",
        .purpose = "microphone and sound encoder",
        .chain = {.elements = audio_enc_elements,
                  .properties = audio_enc_properties,
                  .create_failed = "Element could not be created in the audio encoding pipe.",
                  .link_failed = "Failed to link elements in the audio encoding bin"},
        .creating = "Creating audio encoding.. ",
        // Recording works on boards where this fails.
        .first_command = "amixer -c 0 set 'DMic Rate' '128x'",
        .carries = medium::sound,
        // A silent microphone doesn't forward events.
        .end_element = "audio-amp",
    },
});

// The client's additions to the help in the commands' rows.
#pragma once

#include <array>
#include <string_view>

struct command_note {
    std::string_view command;
    std::string_view help{};    // replaces the daemon's, which misleads; keeps its marks
    std::string_view remark{};  // additions to the help, in sentences
    std::string_view refusal{}; // why the daemon refuses valid arguments without a reason
    std::string_view log{};     // what the daemon's log then adds
};

inline constexpr std::string_view LOG_SAYS_WHICH = "the daemon's log says which";
inline constexpr std::string_view LOG_HAS_THE_STATUS = "the daemon's log has the tool's status";
inline constexpr std::string_view CORE_REFUSES = "the thermal core refuses";

inline constexpr auto command_notes = std::to_array<command_note>({
    {.command = "enable_video",
     .help = "does nothing and always fails",
     .refusal = "this sight's display can't be switched"},
    {.command = "enable_record",
     .help = "int 1/0 - starts/stops the recording of the output video in the media folder[!], in "
             "files video/video_<timestamp>_NN.mp4",
     .remark = "With encoding type 2 the files are video/audio_<timestamp>_NN.mp4.",
     .refusal = "less than 112.5 MiB are free, or an earlier recording is still ending",
     .log = LOG_SAYS_WHICH},
    {.command = "make_snapshot",
     .help = "takes a snapshot in the media folder[!], in a file image/img_<timestamp>.jpeg",
     .refusal = "there is no camera picture, or less than 2.25 MiB are free, or the file can't be "
                "written",
     .log = "if one of the last two, the daemon's log says which"},
    {.command = "enable_tcp_stream",
     .help = "int 1/0 - starts/stops an MPEG transport stream on "
             "tcp://<device's-ip>:<stream-port[!]>",
     .remark = "Browsers don't play it.",
     .refusal = "an earlier stream is still ending"},
    {.command = "enable_http_stream",
     .refusal = "the encoding type is 2, or an earlier push is still ending"},
    {.command = "kbd_zoom", .refusal = CORE_REFUSES, .log = LOG_HAS_THE_STATUS},
    {.command = "kbd_nuc", .refusal = CORE_REFUSES, .log = LOG_HAS_THE_STATUS},
    {.command = "enable_pip",
     .help = "int 1/0 - shows/hides the pip inset, with factor 2 [%@]",
     .remark = "Other numbers count as 1, 4 as well; kbd_zoom goes on to factor 4.",
     .refusal = CORE_REFUSES,
     .log = LOG_HAS_THE_STATUS},
    {.command = "get_pip", .help = "returns whether the pip inset is shown (1/0)"},
    {.command = "get_zoom", .remark = "While the pip inset is shown, the index of its factor."},
    {.command = "set_origin",
     .remark =
         "The place of the top left corner of the reticle's image at zoom factor 1, seen from "
         "the next zoom on."},
    {.command = "set_reticle_src", .remark = "Others wrap, so that 5 is 0."},
    {.command = "set_nuc_type", .refusal = CORE_REFUSES, .log = LOG_HAS_THE_STATUS},
    {.command = "set_lum", .remark = "From dim to bright."},
    {.command = "set_enc_type",
     .help = "index from the enc type array, sets the current enc type (cannot be set while "
             "recording or serving the TCP stream) [@]",
     .remark = "0 video and sound, 1 video, 2 sound. It can be set during an HTTP push.",
     .refusal = "a recording or a TCP stream runs"},
    {.command = "set_mic_volume", .help = "sets the microphone volume [@]"},
    {.command = "create_dot",
     .remark = "One for each pipe, in /home/root.",
     .refusal = "the clock can't be read"},
    {.command = "create_pipe",
     .remark = "0 source, 1 display, 6 no-input picture; no other.",
     .refusal = "only the pipes 0, 1 and 6 can be made, and only while they don't exist"},
    {.command = "pause_pipe", .refusal = "the pipe does not exist, or is ending, or refuses"},
    {.command = "resume_pipe", .refusal = "the pipe does not exist, or refuses"},
    {.command = "pause_video", .refusal = "a pipe refuses", .log = LOG_SAYS_WHICH},
    {.command = "resume_video", .refusal = "a pipe refuses", .log = LOG_SAYS_WHICH},
});

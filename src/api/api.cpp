// The client commands: their table, and how a request becomes a reply.
#include "api/api.h"

#include "api/handlers.h"
#include "api/ipcmsg.h"
#include "util/text_buffer.h"

// A new command is a row here and its handler.
constexpr std::array<command_row, CMD_LIST_SIZE> cmd_list{{
    {"set_qml_prop", user_cmd_qml_set,
     "argc:3, separated by ',', in the format <obj-name>,<obj-prop>,<value> - changes a property "
     "in the qml file of the overlay [*]"},
    {"enable_qml", user_cmd_qml_enable,
     "argc:1, int 1/0 - shows/hides the qml overlay from the output [*]"},
    {"enable_video", user_cmd_gst_video_en,
     "argc:1, int 1/0 - starts/stops the video on the oled display"},
    {"enable_record", user_cmd_gst_record_en,
     "argc:1, int 1/0 - starts/stops the recording of the output video in the media folder[!] in "
     "forat video_<timestamp>.mpeg"},
    {"make_snapshot", user_cmd_gst_snapshot,
     "argc:0, takes a snapshot in the media folder[!] in the format snapshot_<timestamp>.png"},
    {"enable_tcp_stream", user_cmd_gst_tcp_stream_en,
     "argc:1, int 1/0 - starts/stops the web stream on tcp://<device's-ip>:<stream-port[!]>"},
    {"disable_kbd", user_cmd_disable_kbd,
     "argc:0, stops interpreting the keyboard key-presses and stops interacting with the qml "
     "except of the direct qml command"},
    {"kbd_zoom", user_cmd_zoom, "argc:0, simulate zoom button press"},
    {"kbd_nuc", user_cmd_nuc, "argc:0, simulate nuc button press"},
    {"kbd_pol", user_cmd_pol, "argc:0, simulate pol button press [@]"},
    {"print_config", user_cmd_get_config, "argc:0, prints config file contents"},
    {"enable_pip", user_cmd_pip, "argc:1, 0 - disable pip, 2 - pip x2, 4 - pip x4 [%@]"},
    {"get_lum", user_cmd_get_lum, "argc:0, returns the current lum array index"},
    {"get_pip", user_cmd_get_pip, "argc:0, returns the current pip arary index"},
    {"enable_reticle", user_cmd_reticle, "argc:1, int 1/0, shows/hides the reticle [%@]"},
    {"enable_dot", user_cmd_dot, "argc:1, int 1/0, shows/hides the red dot, [%@]"},
    {"get_reticle", user_cmd_get_reticle, "argc:0, returns the current reticle visibility (1/0)"},
    {"set_origin", user_cmd_origin,
     "argc:2, format <x>,<y> [float-numbers], sets the origin of the reticle [%@]"},
    {"get_zoom", user_cmd_get_zoom, "argc:0, returns the current zoom array index"},
    {"set_reticle_src", user_cmd_set_reticle_src,
     "argc:1, int index from the reticle src array, sets the reticle src image [%@]"},
    {"set_reticle_color", user_cmd_set_reticle_color,
     "argc:1, index from the reticle color array, sets the reticle color [%@]"},
    {"set_reticle_opacity", user_cmd_set_reticle_opacity,
     "argc:1, <float> range->[0-1], sets the opacity of the reticle, [%@]"},
    {"set_nuc_type", user_cmd_set_nuc_type,
     "argc:1, index from the nuc type array, sets the current nuc type [%@]"},
    {"set_lum", user_cmd_set_luminance,
     "argc:1, index from the luminance array, sets the current luminance [%@]"},
    {"set_enc_type", user_cmd_set_encoder_type,
     "argc:1, index from the enc type array, sets the current enc type (cannot be set while "
     "recording/streaming)"},
    {"get_enc_type", user_cmd_get_encoder_type,
     "argc:0, returns the current index from the enc type array"},
    {"set_mic_volume", user_cmd_set_mic_volume, "argc:1, [0-100] set the microphone volume"},
    {"get_mic_volume", user_cmd_get_mic_volume, "argc:0, [0-100] get the microphone volume"},
    {"pipeline_state", user_cmd_get_pl_state, "argc:0, prints the pipeline state in the log"},
    {"create_dot", user_cmd_create_dot_file,
     "argc:0, create a dot diagram of the current pipeline"},
    {"create_pipe", user_cmd_create_pipe,
     "argc:1, [pipe_enum] debug func creates a the specified pipe"},
    {"kill_pipe", user_cmd_destroy_pipe,
     "argc:1, [pipe_enum] debug func destroys the specified pipe"},
    {"pause_pipe", user_cmd_pause_pipe, "argc:1, [pipe_enum] debug func pauses the specified pipe"},
    {"resume_pipe", user_cmd_resume_pipe,
     "argc:1, [pipe_enum] debug func resumes the specified pipe"},
    {"pause_video", user_cmd_pause_video, "argc:0, pauses the video"},
    {"resume_video", user_cmd_resume_video, "argc:0, resumes the video"},
    {"enable_http_stream", user_cmd_enable_http_stream, "argc:1 enable/disable the http stream"},
}};

namespace {

constexpr std::array api_legend_arr{
    "\n  Client Commands Legend:",
    "   @ - the command updates the corresponding option in the config file",
    "   ! - the argument is sourced from the configuration file",
    "   * - the command affects the current overlay",
    "   % - the command affects the current overlay until, disable_kbd command is received",
};

constexpr std::size_t HELP_SIZE = 1024;

constexpr bool names_are_unique() {
    for (std::size_t i = 0; i < cmd_list.size(); ++i) {
        for (std::size_t j = i + 1; j < cmd_list.size(); ++j) {
            if (std::string_view{cmd_list[i].name} == cmd_list[j].name) {
                return false;
            }
        }
    }
    return true;
}
static_assert(names_are_unique());

malloc_text error_reply(const char* command, const char* text) {
    const malloc_text data = estrdup(text);
    return ipc_serialize({.ctype = 'e', .cmd = command, .dtype = 's', .data = data.get()});
}

} // namespace

malloc_text process_ipc(char* request) {
    ipc_msg message;
    if (ipc_deserialize(request, message) != 0) {
        return error_reply("no_cmd", "Failed to decode the command");
    }
    const command_handler handler = api_locate_command(message.cmd);
    if (handler == nullptr) {
        return error_reply(message.cmd, "Unknown command");
    }
    malloc_text reply;
    const int result = handler(message.data, reply);
    return ipc_serialize({
        .ctype = result == 0 ? 'r' : 'e',
        .cmd = message.cmd,
        .dtype = reply ? 's' : 'n',
        .data = reply.get(),
    });
}

command_handler api_locate_command(std::string_view name) {
    for (const command_row& row : cmd_list) {
        if (name == row.name) {
            return row.handler;
        }
    }
    return nullptr;
}

malloc_text api_get_help() {
    text_buffer help{HELP_SIZE};
    for (const command_row& row : cmd_list) {
        help.append("   %-20s %s\n", row.name, row.help);
    }
    for (const char* line : api_legend_arr) {
        help.append("%s\n", line);
    }
    return help.take();
}

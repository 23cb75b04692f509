// Client commands for recording, streams, snapshots, encoding type and microphone.
#include "api/handlers.h"
#include "api/values.h"
#include "config/cfg.h"
#include "control/actions_media.h"

int user_cmd_gst_video_en(request_arguments /*arguments*/, malloc_text& /*reply*/) {
    // On this sight the command can't switch the display.
    return 1;
}

int user_cmd_gst_record_en(request_arguments arguments, malloc_text& /*reply*/) {
    return ac_start_stop_record(to_flag(arguments[0]));
}

int user_cmd_gst_snapshot(request_arguments /*arguments*/, malloc_text& /*reply*/) {
    return ac_make_snapshot();
}

int user_cmd_gst_tcp_stream_en(request_arguments arguments, malloc_text& /*reply*/) {
    return ac_start_stop_stream(to_flag(arguments[0]));
}

int user_cmd_enable_http_stream(request_arguments arguments, malloc_text& /*reply*/) {
    return ac_start_stop_http_stream(to_flag(arguments[0]));
}

int user_cmd_set_encoder_type(request_arguments arguments, malloc_text& /*reply*/) {
    return ac_set_enc_type(to_integer(arguments[0]));
}

int user_cmd_get_encoder_type(request_arguments /*arguments*/, malloc_text& reply) {
    reply = decimal_text(global_config.enc_type);
    return 0;
}

int user_cmd_set_mic_volume(request_arguments arguments, malloc_text& /*reply*/) {
    return ac_set_microphone_volume(to_integer(arguments[0]));
}

int user_cmd_get_mic_volume(request_arguments /*arguments*/, malloc_text& reply) {
    reply = decimal_text(global_config.mic_volume);
    return 0;
}

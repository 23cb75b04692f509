// Client commands for recording, streams, snapshots, encoding and sound.
#include "api/handlers.h"
#include "api/values.h"
#include "config/cfg.h"
#include "control/actions_media.h"

int user_cmd_gst_video_en(char* /*data*/, malloc_text& /*reply*/) {
    // The display can't be switched by this command on this sight.
    return 1;
}

int user_cmd_gst_record_en(char* data, malloc_text& /*reply*/) {
    return ac_start_stop_record(to_flag(data));
}

int user_cmd_gst_snapshot(char* /*data*/, malloc_text& /*reply*/) {
    return ac_make_snapshot();
}

int user_cmd_gst_tcp_stream_en(char* data, malloc_text& /*reply*/) {
    return ac_start_stop_stream(to_flag(data));
}

int user_cmd_enable_http_stream(char* data, malloc_text& /*reply*/) {
    return ac_start_stop_http_stream(to_flag(data));
}

int user_cmd_set_encoder_type(char* data, malloc_text& /*reply*/) {
    return ac_set_enc_type(to_integer(data));
}

int user_cmd_get_encoder_type(char* /*data*/, malloc_text& reply) {
    reply = decimal_text(global_config.enc_type);
    return 0;
}

int user_cmd_set_mic_volume(char* data, malloc_text& /*reply*/) {
    return ac_set_microphone_volume(to_integer(data));
}

int user_cmd_get_mic_volume(char* /*data*/, malloc_text& reply) {
    reply = decimal_text(global_config.mic_volume);
    return 0;
}

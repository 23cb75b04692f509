// The handlers of the client commands, by subject. Each takes a request's data text and returns 0
// for success; see command_handler.
#pragma once

#include "core/imem.h"

// Overlay (handlers_overlay.cpp)
int user_cmd_qml_set(char* data, malloc_text& reply);
int user_cmd_qml_enable(char* data, malloc_text& reply);

// Media (handlers_media.cpp)
int user_cmd_gst_video_en(char* data, malloc_text& reply);
int user_cmd_gst_record_en(char* data, malloc_text& reply);
int user_cmd_gst_snapshot(char* data, malloc_text& reply);
int user_cmd_gst_tcp_stream_en(char* data, malloc_text& reply);
int user_cmd_enable_http_stream(char* data, malloc_text& reply);
int user_cmd_set_encoder_type(char* data, malloc_text& reply);
int user_cmd_get_encoder_type(char* data, malloc_text& reply);
int user_cmd_set_mic_volume(char* data, malloc_text& reply);
int user_cmd_get_mic_volume(char* data, malloc_text& reply);

// The sight's controls and settings (handlers_sight.cpp)
int user_cmd_disable_kbd(char* data, malloc_text& reply);
int user_cmd_zoom(char* data, malloc_text& reply);
int user_cmd_nuc(char* data, malloc_text& reply);
int user_cmd_pol(char* data, malloc_text& reply);
int user_cmd_pip(char* data, malloc_text& reply);
int user_cmd_get_zoom(char* data, malloc_text& reply);
int user_cmd_set_nuc_type(char* data, malloc_text& reply);
int user_cmd_set_luminance(char* data, malloc_text& reply);
int user_cmd_get_config(char* data, malloc_text& reply);
int user_cmd_get_lum(char* data, malloc_text& reply);
int user_cmd_get_pip(char* data, malloc_text& reply);

// The reticle (handlers_reticle.cpp)
int user_cmd_reticle(char* data, malloc_text& reply);
int user_cmd_get_reticle(char* data, malloc_text& reply);
int user_cmd_dot(char* data, malloc_text& reply);
int user_cmd_origin(char* data, malloc_text& reply);
int user_cmd_set_reticle_src(char* data, malloc_text& reply);
int user_cmd_set_reticle_color(char* data, malloc_text& reply);
int user_cmd_set_reticle_opacity(char* data, malloc_text& reply);

// Pipes (handlers_pipes.cpp)
int user_cmd_get_pl_state(char* data, malloc_text& reply);
int user_cmd_create_dot_file(char* data, malloc_text& reply);
int user_cmd_create_pipe(char* data, malloc_text& reply);
int user_cmd_destroy_pipe(char* data, malloc_text& reply);
int user_cmd_pause_pipe(char* data, malloc_text& reply);
int user_cmd_resume_pipe(char* data, malloc_text& reply);
int user_cmd_pause_video(char* data, malloc_text& reply);
int user_cmd_resume_video(char* data, malloc_text& reply);

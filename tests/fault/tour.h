// A tour through all client commands with their preconditions.
#pragma once

#include <array>

struct tour_step {
    const char* request;
    const char* before = nullptr; // a request that makes the command change something
    bool once = false;            // has an effect only once in a daemon's life
};

inline constexpr std::array tour = std::to_array<tour_step>({
    {"c:set_qml_prop:s:OffMenu,offMenuParams,x"},
    {"c:enable_qml:i:1"},
    {"c:enable_video:i:1"},
    {"c:enable_record:i:1"},
    {"c:enable_record:i:0", "c:enable_record:i:1"},
    {"c:make_snapshot:n:"},
    {"c:enable_tcp_stream:i:1"},
    {"c:enable_tcp_stream:i:0", "c:enable_tcp_stream:i:1"},
    {"c:kbd_zoom:n:"},
    {"c:kbd_nuc:n:"},
    {"c:kbd_pol:n:"},
    {"c:print_config:n:"},
    {"c:enable_pip:i:1", "c:enable_pip:i:0"},
    {"c:get_lum:n:"},
    {"c:get_pip:n:"},
    {"c:enable_reticle:i:0", "c:enable_reticle:i:1"},
    {"c:enable_dot:i:0", "c:enable_dot:i:1"},
    {"c:get_reticle:n:"},
    {"c:set_origin:l:500,400"},
    {"c:get_zoom:n:"},
    {"c:set_reticle_src:i:1", "c:set_reticle_src:i:2"},
    {"c:set_reticle_color:i:1", "c:set_reticle_color:i:2"},
    {"c:set_reticle_opacity:s:0.5", "c:set_reticle_opacity:s:1"},
    {"c:set_nuc_type:i:2", "c:set_nuc_type:i:1"},
    {"c:set_lum:i:2", "c:set_lum:i:1"},
    {"c:set_enc_type:i:0", "c:set_enc_type:i:1"},
    {"c:get_enc_type:n:"},
    {"c:set_mic_volume:i:40", "c:set_mic_volume:i:50"},
    {"c:get_mic_volume:n:"},
    {"c:pipeline_state:n:"},
    {"c:create_dot:n:"},
    {"c:create_pipe:i:6"},
    {"c:kill_pipe:i:6", "c:create_pipe:i:6"},
    {"c:pause_pipe:i:1"},
    {"c:resume_pipe:i:1", "c:pause_pipe:i:1"},
    {"c:pause_video:n:"},
    {"c:resume_video:n:", "c:pause_video:n:"},
    {"c:enable_http_stream:i:1"},
    {"c:enable_http_stream:i:0", "c:enable_http_stream:i:1"},
    {"c:disable_kbd:n:", nullptr, true},
    // An unknown command.
    {"c:no_such:n:"},
    {"nonsense"},
    {"c:set_origin:l:1"},
});

// The settings record, its key table, and the configuration file's reader and writer.
#pragma once

#include "core/imem.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <variant>
#include <vector>

// Every persistent setting with its built-in default. Texts are borrowed: constants, or copies
// that live until the process ends.
struct settings {
    const char* socket_file = "/run/vtrdc.socket";
    const char* video_ready_file = "/var/run/video_playing";
    const char* qml_file = "/opt/okr/osd_okr/qml/main.qml";
    const char* media_path = "/media/";
    const char* kbd_device = "/dev/input/event1";
    std::int32_t luminance = 0; // index into lum_values
    std::int32_t pip_mode = 0;  // 0 off, 1 on
    std::int32_t video_width = 1024;
    std::int32_t video_height = 768;
    std::int32_t record_enc_bitrate = 1024; // kbit/s
    std::int32_t record_enc_gop = 15;       // frames
    std::int32_t record_enc_idr = 15;       // frames; no element takes it
    std::int32_t record_enc_search_range = 3;
    std::int32_t stream_enc_bitrate = 1536; // kbit/s
    std::int32_t stream_enc_gop = 1;        // frames
    std::int32_t stream_enc_idr = 120;      // frames
    std::int32_t stream_enc_search_range = 0;
    std::int32_t tcp_stream_port = 1235;
    const char* http_url = "http://127.0.0.1:1234/upload/channel";
    std::int32_t reticle = 1; // 0 hidden, 1 shown
    double origin_x = 512.0;  // display pixels
    double origin_y = 384.0;
    const char* acc_dev = "/dev/iio:device1";
    const char* acc_settings = "/sys/bus/i2c/drivers/st-accel-i2c/2-0018/iio:device1/";
    std::int32_t acc_frequency = 1;    // Hz
    std::int32_t reticle_source = 0;   // index into reticle_srcs
    std::int32_t reticle_color = 0;    // index into reticle_colors
    double reticle_opacity = 1.0;      // 0..1
    std::int32_t red_dot = 1;          // 0 hidden, 1 shown
    std::int32_t nuc_type = 1;         // 0..3
    std::int32_t enc_type = 0;         // 0 video and audio, 1 video, 2 audio
    std::int32_t mic_volume = 100;     // 0..100
    std::int32_t aud_enc_bitrate = 96; // kbit/s
    std::int32_t record_max_len = 300; // seconds a file
    // Path of the broker's socket; has no key in the file.
    const char* redis_socket_file = "/run/redis.sock";
};

// The one record; main thread only.
extern settings global_config;

// The field that a key names; its alternative is the value's type.
using settings_field =
    std::variant<std::int32_t settings::*, const char * settings::*, double settings::*>;

struct parse_row {
    const char* key;
    settings_field field;
};

// One row a key, in the order of the file that is written. A new setting is a field and a row.
inline constexpr std::array parse_table = std::to_array<parse_row>({
    {"socket_file", &settings::socket_file},
    {"video_ready_file", &settings::video_ready_file},
    {"qml_file", &settings::qml_file},
    {"media_path", &settings::media_path},
    {"kbd_device", &settings::kbd_device},
    {"luminance", &settings::luminance},
    {"pip_mode", &settings::pip_mode},
    {"video_width", &settings::video_width},
    {"video_height", &settings::video_height},
    {"record_enc_bitrate", &settings::record_enc_bitrate},
    {"record_enc_gop", &settings::record_enc_gop},
    {"record_enc_idr", &settings::record_enc_idr},
    {"record_enc_search_range", &settings::record_enc_search_range},
    {"stream_enc_bitrate", &settings::stream_enc_bitrate},
    {"stream_enc_gop", &settings::stream_enc_gop},
    {"stream_enc_idr", &settings::stream_enc_idr},
    {"stream_enc_search_range", &settings::stream_enc_search_range},
    {"tcp_stream_port", &settings::tcp_stream_port},
    {"http_url", &settings::http_url},
    {"reticle", &settings::reticle},
    {"origin_x", &settings::origin_x},
    {"origin_y", &settings::origin_y},
    {"acc_dev", &settings::acc_dev},
    {"acc_settings", &settings::acc_settings},
    {"acc_frequency", &settings::acc_frequency},
    {"reticle_source", &settings::reticle_source},
    {"reticle_color", &settings::reticle_color},
    {"reticle_opacity", &settings::reticle_opacity},
    {"red_dot", &settings::red_dot},
    {"nuc_type", &settings::nuc_type},
    {"enc_type", &settings::enc_type},
    {"mic_volume", &settings::mic_volume},
    {"aud_enc_bitrate", &settings::aud_enc_bitrate},
    {"record_max_len", &settings::record_max_len},
});
inline constexpr std::size_t parse_table_size = parse_table.size();
static_assert(parse_table_size == 34);

// Reads the file at `path` into the record. 0 when it held at least one key=value line, else 1.
[[nodiscard]] int cfg_read_config(const char* path);

// Replaces table indices in the record that select no entry by 0, each with a warning. Doesn't
// mark the file for rewriting.
void cfg_correct_indices();

// Builds the raw key table from the file. The number of entries, or -1 when no line could be read.
[[nodiscard]] int cfg_parse(const char* path);

// Stores one value into the record. 0 stored; 1 unknown key, or a number with characters left
// over (its leading number is stored all the same).
[[nodiscard]] int try_parse_key(const char* key, const char* value);

// Leading base-10 integer of the text, clamped to 32 bits; 0, or 1 when characters remain.
[[nodiscard]] int cfg_parse_to_int(const char* text, std::int32_t& value);

// Leading floating-point number of the text; 0.0, or 1.0 when characters remain.
[[nodiscard]] double cfg_parse_to_double(const char* text, double& value);

// All keyed settings, one line each in the table's order; the length without the terminator goes
// to `length` when given.
[[nodiscard]] malloc_text cfg_serialize_global_config(std::size_t* length = nullptr);

// Rewrites the file at `path` in place and forces it to storage; 0, or 1 when it can't be opened.
[[nodiscard]] int cfg_write_config_file(const char* path);

// Releases the raw key table.
void cfg_clean();

// Raw entries of the file that was read, the first one with that key.
// Its index, or -1.
[[nodiscard]] int find_key_in_table(const char* key);
// Its value, borrowed from the table, or null.
[[nodiscard]] const char* cfg_get_str(const char* key);
// Its value as an integer: status of cfg_parse_to_int, or 1 when the key is absent.
[[nodiscard]] int cfg_get_int(const char* key, std::int32_t& value);
// All keys in file order, borrowed from the table; empty when the table is.
[[nodiscard]] std::vector<const char*> cfg_get_all_keys();

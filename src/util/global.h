// What the whole daemon shares: value tables, process-wide flags, and small helpers that reach
// the operating system. Every path may be absolute as on the sight; the helpers put the system
// root in front themselves.
#pragma once

#include "core/imem.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <initializer_list>

// --- Value tables ---------------------------------------------------------------------------

// Digital zoom factors of the thermal core, stepped by the zoom button.
inline constexpr std::array zoom_values{1, 2, 4};
inline constexpr std::size_t ZOOM_VALUE_SIZE = zoom_values.size();

// Magnification factors of the picture-in-picture inset.
inline constexpr std::array pip_values{2, 4};
inline constexpr std::size_t PIP_VALUE_SIZE = pip_values.size();

// Panel luminance levels in the panel's own units (it takes 0..240).
inline constexpr std::array lum_values{75, 130, 185, 220};
inline constexpr std::size_t LUM_VALUE_SIZE = lum_values.size();

// A reticle drawing: its file on the sight, its aim point from the top-left corner and its size,
// both in display pixels at zoom 1.
struct reticle_src {
    const char* path;
    double center_x;
    double center_y;
    std::int32_t width;
    std::int32_t height;
};

inline constexpr std::array<reticle_src, 5> reticle_srcs{{
    {"/opt/okr/Reticles/StandardMilDot.svg", 185.0, 185.0, 370, 370},
    {"/opt/okr/Reticles/5.56x45.svg", 130.55, 84.55, 260, 208},
    {"/opt/okr/Reticles/7.62x39.svg", 185.55, 140.55, 400, 320},
    {"/opt/okr/Reticles/7.62x51.svg", 130.5, 104.5, 260, 208},
    {"/opt/okr/Reticles/7.62x54.svg", 130.5, 104.5, 260, 208},
}};
inline constexpr std::size_t RETICLE_SRCS_SIZE = reticle_srcs.size();

inline constexpr std::array reticle_colors{"#000000", "#ffffff", "#c8c8c7", "#cc2c24",
                                           "#008351", "#f67828", "#0089b6"};
inline constexpr std::size_t RETICLE_COLORS_SIZE = reticle_colors.size();

// A device notice for the broker: its text, channel and numeric code.
struct event_message {
    const char* text;
    const char* channel;
    int code;
};

enum event_message_index : std::size_t {
    NOTICE_NO_INPUT = 0,
    NOTICE_OUT_OF_SPACE = 1,
};

inline constexpr std::array<event_message, 2> event_messages{{
    {"No input video signal", "VTRDC.VIDEO.DONE", 1},
    {"Out of space!", "VTRDC.STORAGE.DONE", 2},
}};

// --- Process-wide state, main thread only ----------------------------------------------------

// Set by an action that stored a setting; the main loop rewrites the file after the pass.
inline int update_conf_file = 0;
// Indices into zoom_values and pip_values of what the zoom button applied last.
inline int zoom_value_index = 0;
inline int pip_index_value = 0;
// Set once an outside controller has taken over: actions then only record settings.
inline int disable_non_video = 0;
// Descriptors as registered with the event aggregator, -1 when closed.
inline int kbd_fd = -1;
inline int acc_fd = -1;
inline int tmr_fd = -1;

// --- Helpers ---------------------------------------------------------------------------------

// The number truncated toward zero; one that an int can't hold becomes the nearest that it can, and
// what is no number becomes 0.
[[nodiscard]] int truncate_to_int(double value);

// Runs a shell command line and waits for it. Returns its wait status as system() does, 0 on
// success; a line of 256 characters or more is refused with a warning and -1.
[[nodiscard, gnu::format(printf, 1, 2)]] int exec_system_cmd(const char* format, ...);

// Creates the file, readable only, when it is missing. 0, or -1 when it can't be opened.
[[nodiscard]] int touch_file(const char* path);

// 1 while a monitor is plugged in, else 0.
[[nodiscard]] int is_hdmi_connected();

// 1 when the path exists, else 0.
[[nodiscard]] int is_file_created(const char* path);

// Local time as 14 digits, year first; none when it can't be had.
[[nodiscard]] malloc_text get_timestamp_string();

// The texts joined in order; none when memory is short.
[[nodiscard]] malloc_text concatenate_strings(std::initializer_list<const char*> texts);

// The whole file as text; none when it can't be read.
[[nodiscard]] malloc_text read_full_file(const char* path);

// Replaces the file's contents by the text, without its terminator. 0; 1 when the file can't be
// opened; -1 when less was written.
[[nodiscard]] int write_full_file(const char* path, const char* text);

// Forces the file, or folder, to storage. One that can't be opened is passed over.
void flush_file(const char* path);

// Creates the folder, but not its parents, when it is missing.
void create_folder(const char* path);

// Stores the free bytes of the file system that holds `path`, those reserved for the superuser
// included. 0, or 1 with a warning when it can't be asked.
[[nodiscard]] int get_free_space(const char* path, std::uint64_t& free_bytes);

// 1 when at least `needed` bytes are free, else 0 with a warning. What can't be asked is full.
[[nodiscard]] int has_enough_space(const char* path, std::uint64_t needed);

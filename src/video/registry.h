// Public interface of the pipe registry: ten numbered pipes that can be stopped, paused and
// resumed. Their bus messages are handled when the bus descriptor is readable.
//
// A pipe ends only through end-of-stream: stopping sends the event; the pipe is destroyed when the
// message arrives on its bus. Main thread only. Pipe number arguments must be 0..9; check with
// is_pipe_number.
#pragma once

#include <array>
#include <cstddef>

// Pipe numbers, also used by clients. Each has a row in one of the tables_*.h.
enum pipe_enum : int {
    PIPE_SRC = 0,
    PIPE_DISPLAY = 1,
    PIPE_RECORD_VIDEO_ENC = 2,
    PIPE_AUDIO_ENC = 3,
    PIPE_TCP_STREAM = 4,
    PIPE_RECORD = 5,
    PIPE_SPLASH = 6,
    PIPE_HTTP_STREAM = 7,
    PIPE_TRANSFORMER = 8,
    PIPE_STREAM_VID_ENC = 9,
    PIPE_COUNT // number of pipes
};

// Result of starting a pipe. The caller registers the descriptor with the event aggregator as
// EVENT_TYPE_BUS with the pipe number as user data.
struct bus_handle {
    int fd;   // bus descriptor, owned by the bus; -1 when the pipe could not be started
    int pipe; // pipe number
};

// Maximum number of branches of an output.
inline constexpr std::size_t BRANCHES_MAX = 3;

// The pipes of an output in creation order, branches first; descriptor 0 ends the list.
using bus_list = std::array<bus_handle, BRANCHES_MAX + 2>;

[[nodiscard]] bool is_pipe_number(int pipe);

// Name of a pipe in graph file names.
[[nodiscard]] const char* pipe_short_name(int pipe);

// Handles at most one pending message of the pipe's bus. Returns 1 when the pipe has ended or has
// no bus: the caller then unregisters the descriptor. Else 0.
[[nodiscard]] int gstvideo_process_message(int pipe);

// Ends the pipe if it exists. Always returns 0.
int gstvideo_stop_pipe(int pipe);

// Returns 0 when changed or already there; 1 when the pipe doesn't exist or, for a pause, is
// ending; -1 when the change takes longer than a second, or the last one failed.
[[nodiscard]] int gstvideo_pause_pipe(int pipe);
[[nodiscard]] int gstvideo_resume_pipe(int pipe);

// Ends every pipe; no new one can be made afterwards.
void gstvideo_stop_all_pipes();

// Returns 0, or 1 at the first pipe that refuses; later ones are then left alone.
[[nodiscard]] int gstvideo_pause_all_pipes();
[[nodiscard]] int gstvideo_resume_all_pipes();

// Returns 1 when no pipe exists, else 0.
[[nodiscard]] int gstvideo_are_pipes_closed();

// Returns 1 when the pipe exists, in whatever state its elements are, else 0.
[[nodiscard]] int gstvideo_is_playing(int pipe);

// True from the request to end the pipe until it has ended.
[[nodiscard]] bool is_ending(int pipe);

// State of an output.
enum class output_state {
    off,
    starting, // a recording without a file, or a stream without data so far
    on,
    ending,
};

[[nodiscard]] output_state gstvideo_output_state(int pipe);

// Checks whether push servers accept the data: nothing else reports that. Call once a second.
void gstvideo_watch_pushes();

// Asks ending pipes again, since their sources may have refused. Handles pending messages on their
// buses, even unregistered ones, and calls `ended` with the bus of each pipe that ends. Call once a
// second.
void gstvideo_handle_ending_pipes(void (*ended)(bus_handle handle));

// Releases GStreamer.
void gstvideo_destroy();

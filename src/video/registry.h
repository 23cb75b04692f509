// The registry of pipes, as the rest of the daemon sees it: ten numbered pipes that are stopped,
// paused, resumed and whose bus messages are handled when their descriptor is readable.
//
// A pipe ends only through end-of-stream: stopping sends the event, and the pipe is destroyed when
// the message comes back on its bus. Main thread only. Every operation that takes a pipe number
// requires 0..9; is_pipe_number tells.
#pragma once

#include <array>
#include <cstddef>

// Pipe numbers; clients address pipes by them. Each has a row in one of the tables_*.h.
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
    PIPE_COUNT // how many there are
};

// Result of starting a pipe. The caller registers the descriptor with the event aggregator as
// EVENT_TYPE_BUS with the pipe number as user data.
struct bus_handle {
    int fd;   // bus descriptor, owned by the bus; -1 when the pipe could not be started
    int pipe; // pipe number
};

// Most branches that one output has.
inline constexpr std::size_t BRANCHES_MAX = 3;

// The pipes of an output in the order they were created, branches first; an entry with descriptor 0
// ends the list.
using bus_list = std::array<bus_handle, BRANCHES_MAX + 2>;

[[nodiscard]] bool is_pipe_number(int pipe);

// Name of a pipe in the names of its graph files.
[[nodiscard]] const char* pipe_short_name(int pipe);

// Handles at most one pending message of the pipe's bus. 1 when the pipe has ended or has no bus:
// the caller unregisters the descriptor; else 0.
[[nodiscard]] int gstvideo_process_message(int pipe);

// Ends the pipe when it exists; 0 always.
int gstvideo_stop_pipe(int pipe);

// 1 when the pipe doesn't exist or, for a pause, was asked to end; 0 when changed or already there;
// -1 when a change is still in progress after a second, or the last one failed.
[[nodiscard]] int gstvideo_pause_pipe(int pipe);
[[nodiscard]] int gstvideo_resume_pipe(int pipe);

// Ends every pipe; from then on none can be made.
void gstvideo_stop_all_pipes();

// 0, or 1 at the first pipe that refused; later ones are not touched then.
[[nodiscard]] int gstvideo_pause_all_pipes();
[[nodiscard]] int gstvideo_resume_all_pipes();

// 1 when no pipe exists, else 0.
[[nodiscard]] int gstvideo_are_pipes_closed();

// 1 when the pipe exists, whatever state its elements are in, else 0.
[[nodiscard]] int gstvideo_is_playing(int pipe);

// True for a pipe that was asked to end and has not ended yet.
[[nodiscard]] bool is_ending(int pipe);

// How far an output is.
enum class output_state {
    off,
    starting, // a recording without a file yet, a stream that sends nothing yet
    on,
    ending,
};

[[nodiscard]] output_state gstvideo_output_state(int pipe);

// Looks whether the servers that are pushed to take what they get, which nothing else tells. To be
// called once a second.
void gstvideo_watch_pushes();

// Asks pipes that were asked to end once more, where their sources may have refused. Handles what
// is pending on their buses, also on those that could not be registered, and calls `ended` with the
// bus of each that ends by it. To be called once a second.
void gstvideo_handle_ending_pipes(void (*ended)(bus_handle handle));

// Releases GStreamer.
void gstvideo_destroy();

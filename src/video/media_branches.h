// The branches between the live view and the media outputs: one pipe each that scales the picture,
// encodes it for recording or for streaming, or encodes the microphone's sound.
//
// A branch is built for the first output that needs it, shared by all, and ended with the last
// output. Main thread only.
#pragma once

#include "video/pipe_builder.h"
#include "video/registry.h"

#include <array>
#include <cstddef>
#include <optional>
#include <span>

inline constexpr std::size_t ENC_TYPE_COUNT = 3;
// Most pipes that one output involves, and an entry with descriptor 0 that ends the list.
inline constexpr std::size_t BUS_LIST_SIZE = 5;

// The pipes of an output in the order they were created: branches first, the output last.
using bus_list = std::array<bus_handle, BUS_LIST_SIZE>;

struct media_branch {
    int pipe;
    bus_handle (*create)();
};

// Each starts its branch, or returns the one that runs. The descriptor is -1 when it can't be
// started.
[[nodiscard]] bus_handle create_media_vid_xformer();
[[nodiscard]] bus_handle create_media_record_vid_enc();
[[nodiscard]] bus_handle create_media_stream_vid_enc();
[[nodiscard]] bus_handle create_media_audio_enc();

inline constexpr media_branch VIDEO_TRANSFORMER{PIPE_TRANSFORMER, create_media_vid_xformer};
inline constexpr media_branch RECORD_VIDEO_ENC{PIPE_RECORD_VIDEO_ENC, create_media_record_vid_enc};
inline constexpr media_branch STREAM_VID_ENC{PIPE_STREAM_VID_ENC, create_media_stream_vid_enc};
inline constexpr media_branch AUDIO_ENC{PIPE_AUDIO_ENC, create_media_audio_enc};

struct media_output {
    int pipe;
    // Builds the output's own pipe, or returns the one that runs. The target is where it goes: a
    // location pattern, a port, or a URL.
    bus_handle (*create)(int pipe, int enc_type, pipe_argument target);
    // The branches that it listens to, by encoding type, in the order they are created; none: there
    // is no such output of that type.
    std::array<std::span<const media_branch>, ENC_TYPE_COUNT> branches;
};

// Starts the branches that the output needs by the present encoding type, then the output itself;
// what runs already is returned as it is. None when there is no such output of that type, when a
// pipe can't be created (those created before stay), and, with a warning and before anything is
// changed, while the output or one of those branches is still ending. An unknown encoding type is
// an ERROR.
[[nodiscard]] std::optional<bus_list> start_media_output(const media_output& output,
                                                         pipe_argument target);

// Ends an output when it exists, and with it the branches when it is the last one. 0; -1 for an
// unknown encoding type, which is an ERROR.
[[nodiscard]] int stop_media_output(int output);

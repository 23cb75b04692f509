// Device notices that the broker passes to an outside controller.
#pragma once

#include <array>
#include <cstddef>

// Text, channel and numeric code of a notice.
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

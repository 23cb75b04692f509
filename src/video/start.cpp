// Starting a pipe by its number.
#include "video/start.h"

#include "video/live_view.h"

namespace {

struct start_row {
    int pipe;
    bus_handle (*start)();
};

// Pipes that can be started one by one, always with the sight's own scene and picture.
constexpr start_row start_rows[] = {
    {PIPE_DISPLAY, gstvideo_start_display},
    {PIPE_SRC, [] { return gstvideo_start_video_src(DEFAULT_OVERLAY_FILE); }},
    {PIPE_SPLASH, [] { return gstvideo_start_splash(DEFAULT_OVERLAY_FILE, NO_INPUT_IMAGE); }},
};

} // namespace

bus_handle gstvideo_start_pipe(int pipe) {
    if (gstvideo_is_playing(pipe) == 0) {
        for (const start_row& row : start_rows) {
            if (row.pipe == pipe) {
                return row.start();
            }
        }
    }
    return {-1, pipe};
}

// The cost of a snapshot without the daemon: the panel's picture as a JPEG file on storage.
#include "util/gst_owned.h"

#include <gst/video/video.h>

#include <cstdio>
#include <cstdlib>
#include <unistd.h>

namespace {

constexpr const char* PICTURE_CAPS =
    "video/x-raw, width=1024, height=768, framerate=30/1, format=RGBA";

// The picture in the panel's file. Red and blue are swapped there; JPEG's cost is the same.
gst_owned<GstSample> picture_of(const char* panel) {
    gchar* bytes = nullptr;
    gsize size = 0;
    if (g_file_get_contents(panel, &bytes, &size, nullptr) == FALSE) {
        std::perror(panel);
        std::exit(EXIT_FAILURE);
    }
    const gst_owned<GstBuffer> buffer{gst_buffer_new_wrapped(bytes, size)};
    const gst_owned<GstCaps> caps{gst_caps_from_string(PICTURE_CAPS)};
    return gst_owned<GstSample>{gst_sample_new(buffer.get(), caps.get(), nullptr, nullptr)};
}

bool write_jpeg(GstSample* picture, const char* path) {
    const gst_owned<GstCaps> caps{gst_caps_from_string("image/jpeg")};
    const gst_owned<GstSample> jpeg{
        gst_video_convert_sample(picture, caps.get(), GST_CLOCK_TIME_NONE, nullptr)};
    GstMapInfo bytes{};
    if (!jpeg || gst_buffer_map(gst_sample_get_buffer(jpeg.get()), &bytes, GST_MAP_READ) == FALSE) {
        return false;
    }
    const gboolean written = g_file_set_contents(path, reinterpret_cast<const gchar*>(bytes.data),
                                                 static_cast<gssize>(bytes.size), nullptr);
    gst_buffer_unmap(gst_sample_get_buffer(jpeg.get()), &bytes);
    sync();
    return written != FALSE;
}

} // namespace

// Takes a snapshot for each line of standard input, and prints the milliseconds it took.
int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "Usage: %s PANEL FILE.jpeg\n", argv[0]);
        return 2;
    }
    gst_init(nullptr, nullptr);
    while (std::getchar() != EOF) {
        const gst_owned<GstSample> picture = picture_of(argv[1]);
        const gint64 start_us = g_get_monotonic_time();
        if (!write_jpeg(picture.get(), argv[2])) {
            std::fprintf(stderr, "can't write %s\n", argv[2]);
            return EXIT_FAILURE;
        }
        std::printf("%.3f\n", static_cast<double>(g_get_monotonic_time() - start_us) / 1e3);
        std::fflush(stdout);
    }
}

// What the simulated thermal sensor sees: footage, a real camera, or a scene of its own.
#include "footage.h"

#include <gst/app/gstappsink.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <sys/stat.h>

GST_DEBUG_CATEGORY_EXTERN(imxv4l2videosrc_debug);
#define GST_CAT_DEFAULT imxv4l2videosrc_debug

namespace sim {
namespace {

// What the sensor shows before the first picture, as with its shutter closed.
constexpr std::uint8_t CLOSED_GREY = 96;

// The converter takes the format that loses the fewest bits.
constexpr const char* CONVERSION =
    " ! videoconvert ! videoscale ! video/x-raw, format={GRAY8,GRAY16_LE}, width=640, height=480, "
    "pixel-aspect-ratio=1/1 ! appsink name=sink sync=false max-buffers=3";

enum class footage_kind { camera, video, nothing, unusable };

footage_kind kind_of(const std::string& path) {
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) {
        return footage_kind::unusable;
    }
    if (S_ISREG(status.st_mode)) {
        return status.st_size > 0 ? footage_kind::video : footage_kind::nothing;
    }
    return S_ISCHR(status.st_mode) ? footage_kind::camera : footage_kind::unusable;
}

// A warm blob that wanders over the own scene; all lengths as parts of the picture's height.
struct blob {
    double x_speed;
    double y_speed;
    double radius;
    double warmth;
};

constexpr blob blobs[] = {
    {0.23, 0.31, 0.10, 110.0},
    {0.41, 0.17, 0.06, 150.0},
    {0.13, 0.53, 0.15, 60.0},
};

} // namespace

footage::footage(GstElement* camera) : camera_(camera), picture_(SENSOR_PIXELS, CLOSED_GREY) {}

void footage::open(const std::string& path, GstClockTime time) {
    close();
    gain_ = {};
    const footage_kind kind = kind_of(path);
    if (kind == footage_kind::unusable) {
        give_up(path.c_str());
    }
    live_ = kind == footage_kind::camera;
    if (live_ || kind == footage_kind::video) {
        play(path);
        begin_loop(time);
    }
}

void footage::play(const std::string& path) {
    const std::string description =
        std::string(live_ ? "v4l2src name=file" : "filesrc name=file ! decodebin") + CONVERSION;
    GError* problem = nullptr;
    player_ = own_floating(gst_parse_launch(description.c_str(), &problem));
    const g_error_owned owned_problem(problem);
    if (!player_) {
        give_up(problem->message);
        return;
    }
    const gst_owned<GstElement> file(gst_bin_get_by_name(GST_BIN(player_.get()), "file"));
    g_object_set(file.get(), live_ ? "device" : "location", path.c_str(), nullptr);
    sink_.reset(gst_bin_get_by_name(GST_BIN(player_.get()), "sink"));
    gst_element_set_state(player_.get(), GST_STATE_PLAYING);
}

void footage::close() {
    if (player_) {
        gst_element_set_state(player_.get(), GST_STATE_NULL);
    }
    next_.reset();
    sink_.reset();
    player_.reset();
}

grey_picture footage::at(GstClockTime time) {
    if (player_) {
        pull_until(time);
    } else {
        draw_own_scene(time);
    }
    return grey_picture(picture_.data(), SENSOR_PIXELS);
}

void footage::begin_loop(GstClockTime time) {
    loop_start_ = time;
    first_stamp_ = GST_CLOCK_TIME_NONE;
}

// Stamps count from the loop's first picture on: a recording's may begin at any time.
GstClockTime footage::due_time(const GstBuffer* picture) {
    if (!GST_BUFFER_PTS_IS_VALID(picture)) {
        return loop_start_;
    }
    const GstClockTime stamp = GST_BUFFER_PTS(picture);
    if (!GST_CLOCK_TIME_IS_VALID(first_stamp_)) {
        first_stamp_ = stamp;
    }
    return loop_start_ + (std::max(stamp, first_stamp_) - first_stamp_);
}

// Takes every picture that is due; one that is not stays in `next_`.
void footage::pull_until(GstClockTime time) {
    for (;;) {
        if (!next_) {
            next_.reset(gst_app_sink_try_pull_sample(GST_APP_SINK(sink_.get()), 0));
        }
        if (!next_) {
            begin_again(time);
            return;
        }
        if (!live_ && due_time(gst_sample_get_buffer(next_.get())) > time) {
            return;
        }
        take(next_.get());
        next_.reset();
    }
}

void footage::begin_again(GstClockTime time) {
    if (has_failed()) {
        give_up("it is no video that is known here");
        close();
    } else if (!live_ && gst_app_sink_is_eos(GST_APP_SINK(sink_.get())) != FALSE) {
        begin_loop(time);
        gst_element_seek_simple(
            player_.get(), GST_FORMAT_TIME,
            static_cast<GstSeekFlags>(GST_SEEK_FLAG_FLUSH | GST_SEEK_FLAG_KEY_UNIT), 0);
    }
}

void footage::give_up(const char* why) {
    GST_ELEMENT_WARNING(camera_, STREAM, WRONG_TYPE,
                        ("The footage can't be played, a scene is drawn instead"), ("%s", why));
}

bool footage::has_failed() {
    const gst_owned<GstBus> bus(gst_element_get_bus(player_.get()));
    const gst_owned<GstMessage> error(gst_bus_pop_filtered(bus.get(), GST_MESSAGE_ERROR));
    return error != nullptr;
}

void footage::take(GstSample* sample) {
    GstBuffer* const buffer = gst_sample_get_buffer(sample);
    const GstStructure* const format = gst_caps_get_structure(gst_sample_get_caps(sample), 0);
    if (g_strcmp0(gst_structure_get_string(format, "format"), "GRAY8") == 0) {
        gst_buffer_extract(buffer, 0, picture_.data(), picture_.size());
        return;
    }
    counts_.resize(picture_.size());
    gst_buffer_extract(buffer, 0, counts_.data(), counts_.size() * sizeof counts_.front());
    gain_.apply(counts_, picture_);
}

void footage::draw_own_scene(GstClockTime time) {
    const double seconds = static_cast<double>(time) / GST_SECOND;
    for (int y = 0; y < SENSOR_HEIGHT; ++y) {
        const auto cool = static_cast<std::uint8_t>(40 + 60 * y / SENSOR_HEIGHT);
        std::fill_n(picture_.begin() + std::ptrdiff_t{y} * SENSOR_WIDTH, SENSOR_WIDTH, cool);
    }
    for (const blob& each : blobs) {
        const int radius = static_cast<int>(each.radius * SENSOR_HEIGHT);
        const int x =
            static_cast<int>((0.5 + 0.4 * std::sin(seconds * each.x_speed)) * SENSOR_WIDTH);
        const int y =
            static_cast<int>((0.5 + 0.4 * std::sin(seconds * each.y_speed)) * SENSOR_HEIGHT);
        for (int row = std::max(0, y - radius); row < std::min(SENSOR_HEIGHT, y + radius); ++row) {
            for (int column = std::max(0, x - radius); column < std::min(SENSOR_WIDTH, x + radius);
                 ++column) {
                const double distance = std::hypot(column - x, row - y) / radius;
                std::uint8_t& pixel = picture_[static_cast<std::size_t>(row) * SENSOR_WIDTH +
                                               static_cast<std::size_t>(column)];
                pixel = static_cast<std::uint8_t>(
                    std::min(255.0, pixel + each.warmth * std::max(0.0, 1.0 - distance)));
            }
        }
    }
}

} // namespace sim

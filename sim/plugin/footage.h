// What the simulated thermal sensor sees: grey pictures from a video file, from a real camera, or
// from a scene of its own where a file can't be played.
#pragma once

#include "automatic_gain.h"
#include "pixels.h"
#include "util/gst_owned.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace sim {

inline constexpr std::size_t SENSOR_PIXELS = std::size_t{SENSOR_WIDTH} * SENSOR_HEIGHT;

using grey_picture = std::span<const std::uint8_t, SENSOR_PIXELS>;

class footage {
public:
    // The camera, borrowed, says on its bus when footage can't be played.
    explicit footage(GstElement* camera);
    footage(const footage&) = delete;
    footage& operator=(const footage&) = delete;
    ~footage() { close(); }

    // Starts playing the file, or opens the character device, in place of what played before: its
    // first picture is the one for `time`. Decoding runs on threads of its own. An empty file means
    // the own scene; so does what is neither, which is not touched (opening a FIFO would block).
    void open(const std::string& path, GstClockTime time);

    // The picture to show at `time`, which must not go back. Footage keeps its own speed and starts
    // over at its end. Never waits: while nothing is decoded yet, the last picture stays (before
    // the first one: uniform grey). Valid until the next call.
    [[nodiscard]] grey_picture at(GstClockTime time);

private:
    void play(const std::string& path);
    void close();
    void begin_loop(GstClockTime time);
    [[nodiscard]] GstClockTime due_time(const GstBuffer* picture);
    void pull_until(GstClockTime time);
    void begin_again(GstClockTime time);
    [[nodiscard]] bool has_failed();
    void take(GstSample* sample);
    void draw_own_scene(GstClockTime time);

    void give_up(const char* why);

    GstElement* const camera_;
    gst_owned<GstElement> player_; // empty: the own scene
    gst_owned<GstElement> sink_;
    gst_owned<GstSample> next_; // decoded already, not due yet
    GstClockTime loop_start_ = 0;
    GstClockTime first_stamp_ = GST_CLOCK_TIME_NONE; // of the loop's first picture
    bool live_ = false; // a real camera: its latest picture is the one to show
    std::vector<std::uint8_t> picture_;
    std::vector<std::uint16_t> counts_; // the picture before the gain
    automatic_gain gain_;
};

} // namespace sim

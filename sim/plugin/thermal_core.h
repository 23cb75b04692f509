// The simulated thermal core: what it does to the sensor's picture under its present settings.
#pragma once

#include "folder_watch.h"
#include "pixels.h"
#include "sensor_model.h"

#include <cstdint>
#include <string>
#include <vector>

namespace sim {

struct core_settings {
    double zoom = 1;       // 1 to 64
    double pip = 0;        // magnification of the inset, up to 64; 0: no inset
    double origin_x = 320; // the point that zoom and inset keep in place, in thermal pixels
    double origin_y = 240;
    std::string nuc = {}; // changes with each correction that is asked for
};

// Reads the state files "zoom", "pip", "origin" and "nuc". What is missing or makes no sense has
// its default. ("shutter" holds the stored movement mode, which no picture shows.)
[[nodiscard]] core_settings read_core_settings(const std::string& folder);

// Where the core's state files lie: on the simulated board's disk when there is one.
[[nodiscard]] std::string core_state_folder();

// Where the inset lies in the picture.
inline constexpr int INSET_WIDTH = 256;
inline constexpr int INSET_HEIGHT = 192;
inline constexpr int INSET_X = (SENSOR_WIDTH - INSET_WIDTH) / 2;
inline constexpr int INSET_Y = 16;

// Draws the picture that the settings ask for: the zoom window, and the inset with its border.
void draw_core_picture(const core_settings& settings, const grey_view& sensor,
                       const grey_target& target);

class thermal_core {
public:
    explicit thermal_core(std::string folder);

    // Makes the delivered picture of that number out of the scene. Both pictures have the sensor's
    // size. Settings that were written since the last call hold from this picture on.
    void deliver(const grey_view& scene, std::uint64_t frame, const grey_target& target);

private:
    void refresh();
    void show_shutter(std::uint64_t frame, const grey_target& target);
    [[nodiscard]] grey_view seen(const grey_view& scene, std::uint64_t frame);

    std::string folder_;
    folder_watch watch_;
    core_settings settings_;
    sensor_model sensor_;
    std::vector<std::uint8_t> seen_; // the last picture of a sensor that is not ideal
    int shutter_frames_ = 0;         // pictures for which the shutter stays closed
};

} // namespace sim

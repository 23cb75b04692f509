// What a thermal sensor adds to the scene: noise, and a fixed pattern that drifts. The same
// settings and the same picture number give the same picture.
#pragma once

#include "pixels.h"

#include <cstdint>
#include <string>
#include <vector>

namespace sim {

// Deviations are standard deviations in grey levels.
struct sensor_settings {
    std::uint32_t seed = 1;
    double noise = 0;   // from picture to picture
    double pattern = 0; // of columns, rows and pixels: at power-up, and the most that it can be
    double drift = 0;   // by how much the pattern comes back each second after a correction

    bool operator==(const sensor_settings&) const = default;
    [[nodiscard]] bool is_ideal() const { return noise == 0 && pattern == 0; }
};

// Reads lines of a key and a number: "seed 7", "noise 1.5", "pattern 5", "drift 0.02". A missing
// file, an unknown key or a negative number leaves the default, an ideal sensor; a number that is
// too large becomes the largest.
[[nodiscard]] sensor_settings read_sensor_settings(const std::string& path);

class sensor_model {
public:
    // Draws the pattern: takes about as long as a picture shows, unless the sensor is ideal.
    explicit sensor_model(const sensor_settings& settings);

    [[nodiscard]] const sensor_settings& settings() const { return settings_; }

    // Nothing is left of the pattern at this picture; then it comes back.
    void correct(std::uint64_t frame);

    // The scene as the sensor delivers it. Both are SENSOR_WIDTH x SENSOR_HEIGHT.
    void deliver(const grey_view& scene, std::uint64_t frame, const grey_target& target) const;

private:
    [[nodiscard]] int strength_at(std::uint64_t frame) const;

    sensor_settings settings_;
    std::vector<std::int16_t> pattern_; // a value a pixel
    std::vector<std::int16_t> noise_;   // values that rows of pictures are taken from
    bool is_corrected_ = false;
    std::uint64_t corrected_at_ = 0;
};

} // namespace sim

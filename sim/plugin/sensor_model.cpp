// The thermal sensor's noise and fixed pattern. Compiled for speed also where the rest is not.
#include "sensor_model.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <fstream>
#include <optional>
#include <random>
#include <sstream>
#include <string_view>

namespace sim {
namespace {

constexpr int LEVEL_STEPS = 16;   // values are in sixteenths of a grey level
constexpr int PATTERN_UNIT = 64;  // the pattern's deviation before its strength is applied
constexpr double LEVELS_MAX = 64; // of noise and pattern
constexpr std::size_t NOISE_VALUES = std::size_t{1} << 16;
// Shares of the pattern's deviation; their squares add up to 1.
constexpr double COLUMN_SHARE = 0.7;
constexpr double ROW_SHARE = 0.3;
constexpr double PIXEL_SHARE = 0.65;

// Normally distributed, nearly, with deviation 1; the same on every machine, unlike the standard
// library's distributions: the sum of twelve uniform values has variance 1.
double next_gaussian(std::mt19937& random) {
    constexpr double BYTE_VALUES = 256;
    double sum = 0;
    for (int word = 0; word < 3; ++word) {
        auto bits = static_cast<std::uint32_t>(random());
        for (int byte = 0; byte < 4; ++byte, bits >>= 8) {
            sum += (bits & 0xff) + 0.5;
        }
    }
    return sum / BYTE_VALUES - 6;
}

std::int16_t rounded(double value) {
    return static_cast<std::int16_t>(std::lround(value));
}

std::vector<std::int16_t> make_noise(const sensor_settings& settings) {
    std::mt19937 random{settings.seed};
    std::vector<std::int16_t> values(NOISE_VALUES + SENSOR_WIDTH);
    std::ranges::generate(
        values, [&] { return rounded(next_gaussian(random) * settings.noise * LEVEL_STEPS); });
    return values;
}

std::vector<std::int16_t> make_pattern(std::uint32_t seed) {
    std::mt19937 random{~seed}; // not the noise's values
    std::array<double, SENSOR_WIDTH> columns{};
    std::ranges::generate(columns, [&] { return next_gaussian(random) * COLUMN_SHARE; });
    std::vector<std::int16_t> values;
    values.reserve(columns.size() * SENSOR_HEIGHT);
    for (int y = 0; y < SENSOR_HEIGHT; ++y) {
        const double row = next_gaussian(random) * ROW_SHARE;
        for (const double column : columns) {
            const double pixel = next_gaussian(random) * PIXEL_SHARE;
            values.push_back(rounded((column + row + pixel) * PATTERN_UNIT));
        }
    }
    return values;
}

// Where in the noise a row's values begin: mixes the bits of seed, picture and row.
std::size_t noise_begin(std::uint32_t seed, std::uint64_t frame, int row) {
    std::uint64_t mixed =
        (frame * SENSOR_HEIGHT + static_cast<std::uint64_t>(row)) ^ (std::uint64_t{seed} << 40);
    mixed = (mixed ^ (mixed >> 31)) * 0x9e3779b97f4a7c15;
    mixed = (mixed ^ (mixed >> 29)) * 0xbf58476d1ce4e5b9;
    return static_cast<std::size_t>(mixed >> 48) % NOISE_VALUES;
}

void add_to_row(const std::uint8_t* scene, const std::int16_t* pattern, int strength,
                const std::int16_t* noise, std::uint8_t* target) {
    for (int x = 0; x < SENSOR_WIDTH; ++x) {
        const int value = scene[x] * LEVEL_STEPS + pattern[x] * strength / PATTERN_UNIT + noise[x];
        target[x] =
            static_cast<std::uint8_t>(std::clamp((value + LEVEL_STEPS / 2) / LEVEL_STEPS, 0, 255));
    }
}

void set(sensor_settings& settings, std::string_view key, double value) {
    if (key == "seed") {
        settings.seed = static_cast<std::uint32_t>(std::min(value, 4294967295.0));
    } else if (key == "noise") {
        settings.noise = std::min(value, LEVELS_MAX);
    } else if (key == "pattern") {
        settings.pattern = std::min(value, LEVELS_MAX);
    } else if (key == "drift") {
        settings.drift = std::min(value, LEVELS_MAX * SENSOR_RATE);
    }
}

} // namespace

sensor_settings read_sensor_settings(const std::string& path) {
    sensor_settings settings;
    std::ifstream file{path};
    file.imbue(std::locale::classic());
    for (std::string line; std::getline(file, line);) {
        std::istringstream words{line};
        words.imbue(std::locale::classic());
        std::string key;
        double value = -1;
        if (words >> key >> value && value >= 0) {
            set(settings, key, value);
        }
    }
    return settings;
}

sensor_model::sensor_model(const sensor_settings& settings) : settings_(settings) {
    if (!settings_.is_ideal()) {
        pattern_ = make_pattern(settings_.seed);
        noise_ = make_noise(settings_);
    }
}

void sensor_model::correct(std::uint64_t frame) {
    is_corrected_ = true;
    corrected_at_ = frame;
}

int sensor_model::strength_at(std::uint64_t frame) const {
    double levels = settings_.pattern;
    if (is_corrected_) {
        const std::uint64_t age = frame - std::min(frame, corrected_at_);
        levels = std::min(levels, settings_.drift * static_cast<double>(age) / SENSOR_RATE);
    }
    return static_cast<int>(std::lround(levels * LEVEL_STEPS));
}

void sensor_model::deliver(const grey_view& scene, std::uint64_t frame,
                           const grey_target& target) const {
    const int strength = strength_at(frame);
    for (int y = 0; y < SENSOR_HEIGHT; ++y) {
        add_to_row(scene.pixels + y * scene.stride,
                   pattern_.data() + std::ptrdiff_t{y} * SENSOR_WIDTH, strength,
                   noise_.data() + noise_begin(settings_.seed, frame, y),
                   target.pixels + y * target.stride);
    }
}

} // namespace sim

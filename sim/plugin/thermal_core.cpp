// The simulated thermal core: its sensor, zoom window, inset and shutter.
#include "thermal_core.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <optional>
#include <sstream>
#include <string_view>
#include <utility>

namespace sim {
namespace {

constexpr double MAGNIFICATION_MAX = 64;
constexpr double COORDINATE_MAX = 10000;
constexpr int SHUTTER_CLOSED_FRAMES = 5;
constexpr std::uint8_t SHUTTER_LEVEL = 128;
constexpr std::uint8_t BORDER_LEVEL = 255; // white
constexpr int BORDER = 2;

// Empty also where a folder is in the file's place: reading one fails, and an iterator would throw.
std::string content_of(const std::string& path) {
    std::ostringstream content;
    content << std::ifstream(path).rdbuf();
    return content.str();
}

// Takes a number off the front of the text. Not strtod: it would follow the process's locale.
std::optional<double> take_number(std::string_view& text) {
    text.remove_prefix(std::min(text.find_first_not_of(" \t\n"), text.size()));
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc{} || !std::isfinite(value)) {
        return std::nullopt;
    }
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return value;
}

double magnification(const std::string& path, double smallest, double otherwise) {
    const std::string content = content_of(path);
    std::string_view text = content;
    const double value = take_number(text).value_or(otherwise);
    return value >= smallest ? std::min(value, MAGNIFICATION_MAX) : otherwise;
}

void read_origin(const std::string& path, core_settings& settings) {
    const std::string content = content_of(path);
    std::string_view text = content;
    const auto x = take_number(text);
    const auto y = take_number(text);
    if (x && y) {
        settings.origin_x = std::clamp(*x, -COORDINATE_MAX, COORDINATE_MAX);
        settings.origin_y = std::clamp(*y, -COORDINATE_MAX, COORDINATE_MAX);
    }
}

// The window keeps the origin at its place in the picture, to the pixel that the core rounds to.
window zoom_window(const core_settings& settings) {
    if (settings.zoom == 1) {
        return {0, 0, 1};
    }
    return {settings.origin_x - std::trunc(settings.origin_x / settings.zoom),
            settings.origin_y - std::trunc(settings.origin_y / settings.zoom), settings.zoom};
}

// The inset has the origin in its middle.
window inset_window(const core_settings& settings) {
    return {settings.origin_x - INSET_WIDTH / 2.0 / settings.pip,
            settings.origin_y - INSET_HEIGHT / 2.0 / settings.pip, settings.pip};
}

} // namespace

core_settings read_core_settings(const std::string& folder) {
    core_settings settings;
    settings.zoom = magnification(folder + "/zoom", 1, settings.zoom);
    settings.pip = magnification(folder + "/pip", 0, settings.pip);
    read_origin(folder + "/origin", settings);
    settings.nuc = content_of(folder + "/nuc");
    return settings;
}

std::string core_state_folder() {
    const char* root = secure_getenv("VTRDC_SYSROOT");
    return std::string(root != nullptr ? root : "") + "/var/lib/vtrcore";
}

void draw_core_picture(const core_settings& settings, const grey_view& sensor,
                       const grey_target& target) {
    resample(sensor, zoom_window(settings), target);
    if (settings.pip <= 0) {
        return;
    }
    fill(part_of(target, INSET_X - BORDER, INSET_Y - BORDER, INSET_WIDTH + 2 * BORDER,
                 INSET_HEIGHT + 2 * BORDER),
         BORDER_LEVEL);
    resample(sensor, inset_window(settings),
             part_of(target, INSET_X, INSET_Y, INSET_WIDTH, INSET_HEIGHT));
}

thermal_core::thermal_core(std::string folder)
    : folder_(std::move(folder)), watch_(folder_), settings_(read_core_settings(folder_)),
      sensor_(read_sensor_settings(folder_ + "/sensor")) {
    if (!settings_.nuc.empty()) {
        sensor_.correct(0); // the core stayed powered while its camera was closed
    }
}

void thermal_core::refresh() {
    core_settings now = read_core_settings(folder_);
    if (now.nuc != settings_.nuc) {
        shutter_frames_ = SHUTTER_CLOSED_FRAMES;
    }
    settings_ = std::move(now);
    const sensor_settings sensor = read_sensor_settings(folder_ + "/sensor");
    if (sensor != sensor_.settings()) {
        sensor_ = sensor_model{sensor};
    }
}

// The sensor sees the shutter as it sees everything else; that is how it is corrected.
void thermal_core::show_shutter(std::uint64_t frame, const grey_target& target) {
    fill(target, SHUTTER_LEVEL);
    if (!sensor_.settings().is_ideal()) {
        sensor_.deliver({target.pixels, target.stride, target.width, target.height}, frame, target);
    }
    if (--shutter_frames_ == 0) {
        sensor_.correct(frame);
    }
}

grey_view thermal_core::seen(const grey_view& scene, std::uint64_t frame) {
    if (sensor_.settings().is_ideal()) {
        return scene;
    }
    seen_.resize(std::size_t{SENSOR_WIDTH} * SENSOR_HEIGHT);
    sensor_.deliver(scene, frame, {seen_.data(), SENSOR_WIDTH, SENSOR_WIDTH, SENSOR_HEIGHT});
    return {seen_.data(), SENSOR_WIDTH, SENSOR_WIDTH, SENSOR_HEIGHT};
}

void thermal_core::deliver(const grey_view& scene, std::uint64_t frame, const grey_target& target) {
    if (watch_.changed()) {
        refresh();
    }
    if (shutter_frames_ > 0) {
        show_shutter(frame, target);
        return;
    }
    draw_core_picture(settings_, seen(scene, frame), target);
}

} // namespace sim

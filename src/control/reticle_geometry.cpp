// Calculates where the reticle is drawn at a given scale, and around which point the thermal core
// magnifies.
#include "control/reticle_geometry.h"

#include "config/cfg.h"
#include "core/log.h"
#include "util/value_tables.h"

#include <cmath>

namespace {

// Display pixels per thermal-core pixel: the widths are 1024 and 640.
constexpr double DISPLAY_PER_TCORE = 1.6;

const reticle_src& selected_image() {
    return reticle_srcs.at(static_cast<std::size_t>(global_config.reticle_source));
}

// Geometry of one axis. The magnified picture begins at the core's pixel tcore - offset, so it
// shows the aim point at offset * scale.
struct axis_geometry {
    double tcore;   // the aim point, in thermal-core pixels
    double offset;  // in thermal-core pixels
    double disp;    // the image's corner, with the aim point where the core shows it
    double reticle; // the image's corner, with the aim point at its place at scale 1
    double fine;    // correction: from `reticle` to `disp`, plus half a scale; 0 at scale 1
};

// `half_step` is half the scale, rounded down: negative for x, positive for y.
axis_geometry calc_axis(int scale, double aim, double center, int half_step) {
    axis_geometry axis{};
    axis.tcore = std::trunc(aim / DISPLAY_PER_TCORE);
    axis.reticle = aim - center * scale;
    if (scale == 0) {
        return axis;
    }
    axis.offset = std::trunc(axis.tcore / scale);
    axis.disp = axis.offset * scale * DISPLAY_PER_TCORE - center * scale;
    axis.fine = scale == 1 ? 0.0 : axis.disp - axis.reticle + half_step;
    return axis;
}

} // namespace

reticle_geometry ac_calc_origin(int scale, point origin, point center) {
    const point aim{origin.x + center.x, origin.y + center.y};
    const axis_geometry x = calc_axis(scale, aim.x, center.x, -(scale / 2));
    const axis_geometry y = calc_axis(scale, aim.y, center.y, scale / 2);
    const reticle_geometry result{
        .reticle = {x.reticle + x.fine, y.reticle + y.fine},
        .fine = {x.fine, y.fine},
        .red_dot = {aim.x + x.fine, aim.y + y.fine},
        .tcore = {x.tcore, y.tcore},
    };
    log_message(LEVEL_DEBUG, "Input origin x: %.2f, y: %.2f", origin.x, origin.y);
    log_message(LEVEL_DEBUG, "Inut center x: %.2f, y: %.2f", center.x, center.y);
    log_message(LEVEL_DEBUG, "Input zoom_scale : %d", scale);
    log_message(LEVEL_DEBUG, "Calculated reticle x: %.2f, y: %.2f", result.reticle.x,
                result.reticle.y);
    log_message(LEVEL_DEBUG, "Calculated fine x: %.2f, y: %.2f", x.fine, y.fine);
    log_message(LEVEL_DEBUG, "Calculated red_dot x: %.2f, y: %.2f", result.red_dot.x,
                result.red_dot.y);
    log_message(LEVEL_DEBUG, "Calculated tcore x: %.2f, y: %.2f", x.tcore, y.tcore);
    log_message(LEVEL_DEBUG, "Calculated offset x: %.2f, y: %.2f", x.offset, y.offset);
    log_message(LEVEL_DEBUG, "Calculated disp x: %.2f, y: %.2f", x.disp, y.disp);
    return result;
}

point ac_calc_image_coords(int scale) {
    const reticle_src& image = selected_image();
    const point size{static_cast<double>(scale * image.width),
                     static_cast<double>(scale * image.height)};
    log_message(LEVEL_DEBUG, "Calculated image width: %.2f, height: %.2f", size.x, size.y);
    return size;
}

reticle_geometry ac_calc_stored_origin(int scale) {
    const reticle_src& image = selected_image();
    return ac_calc_origin(scale, {global_config.origin_x, global_config.origin_y},
                          {image.center_x, image.center_y});
}

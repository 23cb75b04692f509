// Reticle settings, and the reticle's state that the overlay gets at start-up.
#include "control/actions_reticle.h"

#include "config/cfg.h"
#include "control/actions_sight.h"
#include "control/hand_over.h"
#include "control/reticle_geometry.h"
#include "core/log.h"
#include "osd/overlay.h"
#include "util/value_tables.h"

#include <cmath>

namespace {

const char* image_path() {
    return reticle_srcs.at(static_cast<std::size_t>(global_config.reticle_source)).path;
}

const char* color_text() {
    return reticle_colors.at(static_cast<std::size_t>(global_config.reticle_color));
}

} // namespace

void ac_initial_reticle_config() {
    const reticle_geometry geometry = ac_calc_stored_origin(1);
    const point size = ac_calc_image_coords(1);
    ov_zoom_reticle(geometry.reticle.x, geometry.reticle.y, geometry.red_dot.x, geometry.red_dot.y,
                    size.x, size.y);
    ov_set_reticle(image_path());
    ov_reticle_visible(global_config.reticle);
    ov_red_dot_visibility(global_config.red_dot);
    ov_reticle_opacity(global_config.reticle_opacity);
    ov_pip_reticle_color(color_text());
    ov_pip_reticle(global_config.pip_mode);
    // If the thermal core refuses, it keeps its correction type.
    static_cast<void>(ac_update_nuc_type(global_config.nuc_type));
}

void ac_update_reticle_origin(double x, double y) {
    log_message(LEVEL_INFO, "origin x: %f, y: %f", x, y);
    if (!std::isfinite(x) || !std::isfinite(y)) {
        log_message(LEVEL_WARN, "an origin must be two finite numbers, not stored");
        return;
    }
    global_config.origin_x = x;
    global_config.origin_y = y;
    update_conf_file = 1;
}

void ac_update_reticle_src(int index) {
    constexpr int size = RETICLE_SRCS_SIZE;
    cfg_store(&settings::reticle_source, (index % size + size) % size);
    if (!ac_is_handed_over()) {
        ov_set_reticle(image_path());
    }
}

int ac_update_reticle_color(int index) {
    if (!range_of(&settings::reticle_color).holds(index)) {
        return 1;
    }
    cfg_store(&settings::reticle_color, index);
    if (!ac_is_handed_over()) {
        ov_pip_reticle_color(color_text());
    }
    return 0;
}

int ac_update_reticle_opacity(double opacity) {
    if (!range_of(&settings::reticle_opacity).holds(opacity)) {
        return 1;
    }
    cfg_store(&settings::reticle_opacity, opacity);
    if (!ac_is_handed_over()) {
        ov_reticle_opacity(opacity);
    }
    return 0;
}

int ac_update_red_dot(int flag) {
    const std::int32_t shown = flag != 0 ? 1 : 0;
    cfg_store(&settings::red_dot, shown);
    if (!ac_is_handed_over()) {
        ov_red_dot_visibility(shown);
    }
    return 0;
}

void ac_set_reticle_visible(int flag) {
    cfg_store(&settings::reticle, flag);
    if (!ac_is_handed_over()) {
        ov_reticle_visible(flag);
    }
}

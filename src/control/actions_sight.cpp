// The sight's image controls: zoom, picture-in-picture, luminance and non-uniformity correction.
#include "control/actions_sight.h"

#include "config/cfg.h"
#include "control/hand_over.h"
#include "control/reticle_geometry.h"
#include "core/log.h"
#include "devices/monitor.h"
#include "devices/uoled.h"
#include "osd/overlay.h"
#include "util/numbers.h"
#include "util/tools.h"
#include "util/value_tables.h"

namespace {

// Indices into zoom_values and pip_values of the values last applied by the zoom button.
int zoom_value_index = 0;
int pip_index_value = 0;

// The factors that the thermal core accepted last; an inset factor of 0 means no inset.
int current_zoom = 1;
int current_inset = 0;

// The correction type that never uses the shutter.
constexpr int NUC_TYPE_SHUTTERLESS = 2;

// Returns the next index in a table; wraps.
int next_index(int index, std::size_t size) {
    return static_cast<int>((static_cast<std::size_t>(index) + 1) % size);
}

int send_origin(const point& tcore) {
    return exec_system_cmd("vtrcore origin %d %d", truncate_to_int(tcore.x),
                           truncate_to_int(tcore.y));
}

} // namespace

int ac_exec_zoom_cmd(int factor) {
    if (ac_is_handed_over()) {
        return 0;
    }
    const reticle_geometry geometry = ac_calc_stored_origin(factor);
    const point size = ac_calc_image_coords(factor);
    if (const int status = send_origin(geometry.tcore); status != 0) {
        return status;
    }
    if (const int status = exec_system_cmd("vtrcore zoom %d", factor); status != 0) {
        return status;
    }
    current_zoom = factor;
    ov_zoom_icon(factor, OV_KEY_ZOOM);
    ov_zoom_reticle(geometry.reticle.x, geometry.reticle.y, geometry.red_dot.x, geometry.red_dot.y,
                    size.x, size.y);
    return 0;
}

int ac_toggle_zoom() {
    const bool pip = global_config.pip_mode != 0;
    int& index = pip ? pip_index_value : zoom_value_index;
    const int next = next_index(index, pip ? PIP_VALUE_SIZE : ZOOM_VALUE_SIZE);
    const auto entry = static_cast<std::size_t>(next);
    const int status =
        pip ? ac_exec_pip_cmd(pip_values.at(entry)) : ac_exec_zoom_cmd(zoom_values.at(entry));
    if (status == 0) {
        index = next;
    }
    return status;
}

void ac_reset_zoom() {
    zoom_value_index = 0;
    static_cast<void>(ac_exec_zoom_cmd(zoom_values.front()));
}

int ac_get_current_zoom_index() {
    return global_config.pip_mode != 0 ? pip_index_value : zoom_value_index;
}

int ac_exec_pip_cmd(int factor) {
    const int mode = factor != 0 ? 1 : 0;
    const bool changed = cfg_store(&settings::pip_mode, mode);
    if (ac_is_handed_over()) {
        return 0;
    }
    if (changed || mode == 0) {
        ac_reset_zoom();
    }
    if (changed) {
        pip_index_value = 0;
        ov_pip_reticle(mode);
    }
    if (const int status = send_origin(ac_calc_stored_origin(factor).tcore); status != 0) {
        return status;
    }
    ov_pip_reticle_offset(0.0, 0.0);
    ov_zoom_icon(factor, OV_KEY_PIP_ZOOM);
    const int status = exec_system_cmd("vtrcore pip %d", factor);
    if (status == 0) {
        current_inset = factor;
    }
    return status;
}

int ac_get_zoom() {
    return current_zoom;
}

int ac_get_inset() {
    return current_inset;
}

int ac_exec_luminance_cmd(int index) {
    if (!range_of(&settings::luminance).holds(index)) {
        return 1;
    }
    cfg_store(&settings::luminance, index);
    if (is_hdmi_connected() != 0) {
        log_message(LEVEL_WARN, "HDMI connected - skip oled command");
        return 0;
    }
    if (ac_is_handed_over()) {
        return 0;
    }
    uoled_set_lum(lum_values.at(static_cast<std::size_t>(index)));
    ov_brigthness_icon(index);
    return 0;
}

int ac_toggle_lum() {
    return ac_exec_luminance_cmd(next_index(global_config.luminance, LUM_VALUE_SIZE));
}

int ac_exec_nuc_cmd(int show_icon) {
    if (ac_is_handed_over()) {
        return 0;
    }
    if (show_icon != 0) {
        ov_nuc_icon();
    }
    return exec_system_cmd("vtrcore fast-nuc");
}

int ac_update_nuc_type(int type) {
    if (!range_of(&settings::nuc_type).holds(type)) {
        return 1;
    }
    cfg_store(&settings::nuc_type, type);
    if (ac_is_handed_over()) {
        return 0;
    }
    return exec_system_cmd("vtrcore shutter-movement %d", type == NUC_TYPE_SHUTTERLESS ? 0 : 1);
}

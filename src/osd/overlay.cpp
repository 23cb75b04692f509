// Updates for the on-screen display: each call sends one update to the overlay's scene.
#include "osd/overlay.h"

#include "core/imem.h"
#include "core/log.h"
#include "util/never_destroyed.h"
#include "util/numbers.h"
#include "util/value_tables.h"
#include "video/controls.h"

#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace {

// A property of the scene.
struct target {
    const char* object;
    const char* property;
};

constexpr target RETICLE{"ReticleMenu", "retProfParam"};
constexpr target ICONS{"OffMenu", "offMenuParams"};
constexpr target PIP_STATE{"FtrMenu", "pipSt"};
constexpr target LEVELER_STATE{"FtrMenu", "lvlSt"};

// What an update sets. A newly loaded scene gets the last one of each, in this order.
enum class subject : std::size_t {
    place,
    image,
    visible,
    red_dot,
    opacity,
    color,
    pip,
    pip_offset,
    luminance,
    zoom,
    pip_zoom,
    leveler,
    passing, // only shows for a moment: not sent again
};

constexpr std::array<target, static_cast<std::size_t>(subject::passing) + 1> targets{
    RETICLE, RETICLE, RETICLE, RETICLE, RETICLE,       RETICLE, PIP_STATE,
    RETICLE, ICONS,   ICONS,   ICONS,   LEVELER_STATE, ICONS,
};

constinit never_destroyed<std::array<malloc_text, targets.size() - 1>> sent_last;

// Maximum size of an update, including the terminator.
constexpr std::size_t SHORT_SIZE = 64;
constexpr std::size_t LONG_SIZE = 128;

constexpr std::array luminance_icons{
    "{\"KEY\": \"LUM\", \"VAL\": 0}", "{\"KEY\": \"LUM\", \"VAL\": 1}",
    "{\"KEY\": \"LUM\", \"VAL\": 2}", "{\"KEY\": \"LUM\", \"VAL\": 3}",
    "{\"KEY\": \"LUM\", \"VAL\": 4}",
};

void pass_on(subject about, const char* value) {
    const target& to = targets.at(static_cast<std::size_t>(about));
    gstvideo_set_qml_param(to.object, to.property, value);
}

void send(subject about, const char* value) {
    if (about != subject::passing) {
        sent_last->at(static_cast<std::size_t>(about)) = estrdup(value);
    }
    pass_on(about, value);
}

void send_switch(subject about, int flag) {
    send(about, flag != 0 ? "1" : "0");
}

// Sends the formatted value. Drops one that doesn't fit: half an update could mean something else.
[[gnu::format(printf, 3, 4)]] void send_formatted(subject about, std::size_t size,
                                                  const char* format, ...) {
    const malloc_text text = emalloc_text(size);
    std::va_list arguments;
    va_start(arguments, format);
    const int length = std::vsnprintf(text.get(), size, format, arguments);
    va_end(arguments);
    if (length < 0 || static_cast<std::size_t>(length) >= size) {
        log_message(LEVEL_WARN, "overlay update too long, not sent: %s", text.get());
        return;
    }
    send(about, text.get());
}

} // namespace

void ov_reticle_visible(int visible) {
    send(subject::visible, visible != 0 ? "{\"STATE\": 1}" : "{\"STATE\": 0}");
}

void ov_zoom_reticle(double x, double y, double red_dot_x, double red_dot_y, double width,
                     double height) {
    send_formatted(subject::place, LONG_SIZE,
                   "{\"X\": %f,\"Y\": %f, \"RD_X\": %f,\"RD_Y\": %f,\"WIDTH\": %f,\"HEIGHT\": %f}",
                   x, y, red_dot_x, red_dot_y, width, height);
}

void ov_pip_reticle_offset(double x, double y) {
    send_formatted(subject::pip_offset, SHORT_SIZE, "{\"Z_OFFSET_X\": %d,\"Z_OFFSET_Y\": %d}",
                   truncate_to_int(x), truncate_to_int(y));
}

void ov_pip_reticle_color(const char* color) {
    send_formatted(subject::color, SHORT_SIZE, "{\"COLOR_HEX\": \"%s\"}", color);
}

void ov_reticle_opacity(double opacity) {
    send_formatted(subject::opacity, SHORT_SIZE, "{\"BRIGHT_VAL\": \"%f\"}", opacity);
}

void ov_set_reticle(const char* path) {
    send_formatted(subject::image, SHORT_SIZE, "{\"SRC\": \"%s\"}", path);
}

void ov_red_dot_visibility(int flag) {
    send_formatted(subject::red_dot, SHORT_SIZE, "{\"RD_STATE\": %d}", flag);
}

int ov_brigthness_icon(int level) {
    if (level < 0 || static_cast<std::size_t>(level) >= luminance_icons.size()) {
        return 1;
    }
    send(subject::luminance, luminance_icons.at(static_cast<std::size_t>(level)));
    return 0;
}

void ov_nuc_icon() {
    send(subject::passing, "{\"KEY\": \"AUTO_NUC_ALRT\" , \"VAL\": 0}");
}

int ov_zoom_icon(int factor, const char* key) {
    const subject about = std::strcmp(key, OV_KEY_ZOOM) == 0 ? subject::zoom : subject::pip_zoom;
    // The icon's step is the index of the factor in zoom_values.
    for (std::size_t step = 0; step < ZOOM_VALUE_SIZE; ++step) {
        if (zoom_values.at(step) == factor) {
            send_formatted(about, LONG_SIZE, "{\"KEY\": \"%s\" , \"VAL\": %d}", key,
                           static_cast<int>(step));
            return 0;
        }
    }
    return 1;
}

void ov_pip_reticle(int flag) {
    send_switch(subject::pip, flag);
}

void ov_leveler_visibility(int shown) {
    send_switch(subject::leveler, shown);
}

void ov_leveler_data(int /*xz_tilt_deg*/, int /*y_tilt_deg*/) {
    log_message(LEVEL_WARN, "ov_leveler_data not implemented");
}

void ov_send_again() {
    for (std::size_t about = 0; about < sent_last->size(); ++about) {
        if (const malloc_text& value = sent_last->at(about)) {
            pass_on(static_cast<subject>(about), value.get());
        }
    }
}

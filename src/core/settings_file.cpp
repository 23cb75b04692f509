// The settings file in the daemon's life: read at start-up, rewritten after a change.
#include "core/settings_file.h"

#include "config/cfg.h"
#include "config/settings.h"
#include "core/log.h"

#include <ctime>

namespace {

// Seconds of processor time that the call takes.
template <class Call> double processor_seconds(Call call) {
    const std::clock_t start = std::clock();
    call();
    return static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
}

void read_conf_file(const char* path) {
    log_message(LEVEL_INFO, "Reading file '%s' as configuration..", path);
    if (cfg_read_config(path) != 0) {
        log_message(LEVEL_WARN, "Failed to read the configuration file %s", path);
    } else {
        log_message(LEVEL_INFO, "Configuration file '%s' parsed.", path);
    }
}

} // namespace

void read_settings(const char* path) {
    const double seconds = processor_seconds([path] { read_conf_file(path); });
    log_message(LEVEL_INFO, "Configure func takes : %fs", seconds);
    cfg_correct_indices();
}

void rewrite_changed_settings() {
    if (update_conf_file == 0) {
        return;
    }
    update_conf_file = 0;
    const double seconds =
        processor_seconds([] { static_cast<void>(cfg_write_config_file(DEFAULT_CONF_FILE)); });
    log_message(LEVEL_INFO, "Config write takes : %fs", seconds);
}

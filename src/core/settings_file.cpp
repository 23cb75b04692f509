// Reads the settings file at start-up and rewrites it after changes.
#include "core/settings_file.h"

#include "config/cfg.h"
#include "config/settings.h"
#include "core/failures.h"
#include "core/log.h"

#include <cerrno>
#include <cstring>
#include <ctime>
#include <utility>

namespace {

// Returns the CPU time of the call, in seconds.
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

// Warns once about a file that can't be written, until a write succeeds.
void write_conf_file() {
    static bool is_failing = false;
    const bool was_failing =
        std::exchange(is_failing, cfg_write_config_file(DEFAULT_CONF_FILE) != 0);
    if (is_failing && !was_failing) {
        log_failure(failure_kind::settings, "Failed to write the settings to %s: %s",
                    DEFAULT_CONF_FILE, std::strerror(errno));
    }
}

} // namespace

void read_settings(const char* path) {
    const double seconds = processor_seconds([path] { read_conf_file(path); });
    log_message(LEVEL_INFO, "Configure func takes : %fs", seconds);
}

void rewrite_changed_settings() {
    if (update_conf_file == 0) {
        return;
    }
    update_conf_file = 0;
    const double seconds = processor_seconds(write_conf_file);
    log_message(LEVEL_INFO, "Config write takes : %fs", seconds);
}

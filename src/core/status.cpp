// The status file: the daemon's state for clients.
#include "core/status.h"

#include "config/cfg.h"
#include "control/actions_sight.h"
#include "control/hand_over.h"
#include "core/failures.h"
#include "core/live_view.h"
#include "core/log.h"
#include "util/build_version.h"
#include "util/private_file.h"
#include "util/sysroot.h"
#include "video/registry.h"
#include "video/storage.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace {

using json = nlohmann::ordered_json;

constexpr int SCHEMA = 1; // incremented when a field is removed or changes its meaning
constexpr const char* NEW_STATUS_FILE = "/run/vtrdc.status.new";
constexpr mode_t STATUS_MODE = 0640;

constexpr std::array live_view_names{"none", "live", "frozen", "no_input"};
constexpr std::array output_state_names{"off", "starting", "on", "ending"};

struct output_row {
    const char* name;
    pipe_enum pipe;
};
constexpr std::array output_rows = std::to_array<output_row>({
    {"recording", PIPE_RECORD},
    {"tcp", PIPE_TCP_STREAM},
    {"http", PIPE_HTTP_STREAM},
});

// The file's content in a form that is quick to compare, since every pass does.
struct snapshot {
    live_view_state view = live_view_state::none;
    std::array<output_state, output_rows.size()> outputs{};
    unsigned int files = 0;
    unsigned int files_of_recording = 0;
    bool is_handed_over = false;
    int zoom = 0;
    int inset = 0;
    unsigned int failures = 0;
    settings values;
    bool operator==(const snapshot&) const = default;
};

snapshot take_snapshot() {
    snapshot now{
        .view = get_live_view_state(),
        .files = record_files().count,
        .files_of_recording = record_files().of_this_recording,
        .is_handed_over = ac_is_handed_over(),
        .zoom = ac_get_zoom(),
        .inset = ac_get_inset(),
        .failures = failures_revision(),
        .values = global_config,
    };
    std::ranges::transform(output_rows, now.outputs.begin(),
                           [](const output_row& row) { return gstvideo_output_state(row.pipe); });
    return now;
}

// Start times of the states in the last snapshot.
struct beginnings {
    std::time_t view = 0;
    std::array<std::time_t, output_rows.size()> outputs{};
};

std::time_t started = 0;
std::optional<snapshot> told_last;
beginnings since;

struct file_identity {
    dev_t device = 0;
    ino_t inode = 0;
    bool operator==(const file_identity&) const = default;
};
// Identifies the status file that this process wrote last.
file_identity own_file;

void note_beginnings(const snapshot& now, std::time_t time) {
    if (!told_last || told_last->view != now.view) {
        since.view = time;
    }
    for (std::size_t output = 0; output < output_rows.size(); ++output) {
        if (!told_last || told_last->outputs.at(output) != now.outputs.at(output)) {
            since.outputs.at(output) = time;
        }
    }
}

// --- The object ------------------------------------------------------------------------------

std::string utc_text(std::time_t time) {
    std::tm fields{};
    std::array<char, sizeof "-2147481748-01-01T00:00:00Z"> text{};
    const std::size_t length = gmtime_r(&time, &fields) == nullptr
                                   ? 0
                                   : std::strftime(text.data(), text.size(), "%FT%TZ", &fields);
    return {text.data(), length};
}

template <class State, std::size_t Count>
const char* name_of(const std::array<const char*, Count>& names, State state) {
    return names.at(static_cast<std::size_t>(state));
}

json outputs_object(const snapshot& now) {
    json outputs = json::object();
    for (std::size_t output = 0; output < output_rows.size(); ++output) {
        outputs[output_rows.at(output).name] = {
            {"state", name_of(output_state_names, now.outputs.at(output))},
            {"since", utc_text(since.outputs.at(output))},
            {"file", ""},
            {"splits", 0},
        };
    }
    const recorded_files files = record_files();
    json& recording = outputs[output_rows.front().name];
    recording["file"] = files.last != nullptr ? files.last : "";
    recording["splits"] = std::max(files.of_this_recording, 1U) - 1;
    return outputs;
}

json settings_object(const settings& values) {
    json object = json::object();
    for (const parse_row& row : parse_table) {
        std::visit([&](auto field) { object[row.key] = values.*field; }, row.field);
    }
    return object;
}

json failures_object() {
    json object = json::object();
    for (std::size_t kind = 0; kind < failure_names.size(); ++kind) {
        const failure& last = last_failures()[kind];
        if (last.when != 0) {
            object[failure_names.at(kind)] = {{"time", utc_text(last.when)},
                                              {"text", last.text.get()}};
        }
    }
    return object;
}

// Replaces bytes of paths and texts that are not UTF-8.
std::string status_text(const snapshot& now) {
    const json status = {
        {"schema", SCHEMA},
        {"pid", getpid()},
        {"started", utc_text(started)},
        {"version", project_version},
        {"build", build_version},
        {"live_view",
         {{"state", name_of(live_view_names, now.view)}, {"since", utc_text(since.view)}}},
        {"outputs", outputs_object(now)},
        {"handed_over", now.is_handed_over},
        {"zoom", now.zoom},
        {"inset", now.inset},
        {"settings", settings_object(now.values)},
        {"failures", failures_object()},
    };
    return status.dump(-1, ' ', false, json::error_handler_t::replace) + '\n';
}

// --- The file --------------------------------------------------------------------------------

// The file's mode doesn't depend on the umask or on an old file.
bool write_new_file(const std::string& text) {
    const file_owner file =
        open_private_file(NEW_STATUS_FILE, O_WRONLY | O_TRUNC | O_NOFOLLOW, "w");
    struct stat status {};
    if (!file || fchmod(fileno(file.get()), STATUS_MODE) != 0 ||
        std::fwrite(text.data(), 1, text.size(), file.get()) != text.size() ||
        std::fflush(file.get()) != 0 || fstat(fileno(file.get()), &status) != 0) {
        return false;
    }
    own_file = {.device = status.st_dev, .inode = status.st_ino};
    return true;
}

bool replace_file(const std::string& text) {
    return write_new_file(text) && std::rename(sysroot_path(NEW_STATUS_FILE).c_str(),
                                               sysroot_path(STATUS_FILE).c_str()) == 0;
}

} // namespace

void write_changed_status() {
    static bool is_failing = false;
    const snapshot now = take_snapshot();
    if (now == told_last) {
        return;
    }
    const std::time_t time = std::time(nullptr);
    started = told_last ? started : time;
    note_beginnings(now, time);
    told_last = now;
    const bool was_failing = std::exchange(is_failing, !replace_file(status_text(now)));
    if (is_failing && !was_failing) {
        log_message(LEVEL_WARN, "Failed to write the status to %s: %s", STATUS_FILE,
                    std::strerror(errno));
    }
}

void remove_status() {
    const std::string path = sysroot_path(STATUS_FILE);
    struct stat status {};
    if (stat(path.c_str(), &status) == 0 &&
        file_identity{.device = status.st_dev, .inode = status.st_ino} == own_file) {
        unlink(path.c_str());
    }
}

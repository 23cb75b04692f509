// The sight's state, from the daemon's status file and the board folder.
#include "sight_state.h"

#include "daemon_status.h"

#include "devices/monitor.h"
#include "devices/uoled.h"

#include <charconv>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <utility>

namespace fs = std::filesystem;

namespace web {

using json = nlohmann::json;

namespace {

// One button press changes several files.
constexpr std::chrono::milliseconds STATE_DELAY{40};

constexpr const char* CORE_FOLDER = "/var/lib/vtrcore";
constexpr const char* CORE_FAILURE = "/var/lib/vtrcore/fail";
constexpr const char* CAMERA_DEVICE = "/dev/video0";

// Maximum luminance, in the panel's units.
constexpr double FULL_LIGHT = 240.0;

// Also empty if the path is a folder.
std::string whole_text(const std::string& path) {
    std::ostringstream text;
    text << std::ifstream{path, std::ios::binary}.rdbuf();
    return text.str();
}

bool is_there(const std::string& path) {
    std::error_code failed;
    return fs::exists(fs::symlink_status(path, failed));
}

const char* name_of(daemon_presence presence) {
    switch (presence) {
    case daemon_presence::up:
        return "up";
    case daemon_presence::silent:
        return "silent";
    case daemon_presence::gone:
        return "gone";
    }
    return "gone";
}

} // namespace

sight_state::sight_state(const board_folder& board, const daemon_client& daemon,
                         std::string stock_scene, std::function<void()> on_change)
    : board_(board), daemon_(daemon), stock_scene_(std::move(stock_scene)),
      on_change_(std::move(on_change)) {}

void sight_state::open() {
    watch_files();
    compose();
}

void sight_state::shut() {
    watch_.reset();
    soon_.stop();
}

void sight_state::watch_files() {
    watch_.emplace(
        [this](const std::string& /*folder*/, const std::string& /*name*/) { refresh(); });
    for (const char* const folder : {CORE_FOLDER, "/dev", "/run"}) {
        watch_->add(board_.path(folder));
    }
    for (const char* const file : {sysfs_luminance, HDMI_CABLE_STATE}) {
        watch_->add(fs::path(board_.path(file)).parent_path());
    }
    watch_->add(fs::path(board_.scene_path()).parent_path());
}

void sight_state::refresh() {
    if (watch_ && !soon_.is_waiting()) {
        soon_.once(STATE_DELAY, [this] { compose(); });
    }
}

// Ignores a status file left by a daemon that has ended.
void sight_state::compose() {
    const bool is_gone = daemon_.presence() == daemon_presence::gone;
    json state = {
        {"type", "state"},
        {"daemon", name_of(daemon_.presence())},
        {"sight", is_gone ? json() : daemon_status(board_)},
        {"camera", is_there(board_.path(CAMERA_DEVICE))},
        {"monitor", is_there(board_.path(HDMI_CABLE_STATE))},
        {"broker", is_there(board_.broker_socket_path())},
        {"core_fails", core_failure_status()},
        {"panel", panel()},
        {"scene", whole_text(board_.scene_path()) == whole_text(stock_scene_) ? "stock" : "own"},
    };
    if (state != state_) {
        state_ = std::move(state);
        on_change_();
    }
}

// Like the tool: a file without a number is a failure too.
json sight_state::core_failure_status() const {
    if (!is_there(board_.path(CORE_FAILURE))) {
        return {};
    }
    const json status = number_in(CORE_FAILURE);
    return status.is_null() ? json(1) : status;
}

json sight_state::panel() const {
    const json level = number_in(sysfs_luminance);
    return {{"on", number_in(sysfs_active) != 0},
            {"level", level},
            {"light", level.is_null() ? json() : json(level.get<double>() / FULL_LIGHT)}};
}

json sight_state::number_in(const char* on_the_sight) const {
    const std::string line = board_.first_line(on_the_sight).value_or("");
    int number = 0;
    const auto [end, error] = std::from_chars(line.data(), line.data() + line.size(), number);
    return error == std::errc{} ? json(number) : json();
}

} // namespace web

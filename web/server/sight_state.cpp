// The sight's state, put together from the daemon's replies, its log and the board folder.
#include "sight_state.h"

#include "devices/monitor.h"
#include "devices/uoled.h"
#include "util/value_tables.h"

#include <array>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <utility>

namespace fs = std::filesystem;

namespace web {

using json = nlohmann::json;

namespace {

// One press of a button changes several files.
constexpr std::chrono::milliseconds STATE_DELAY{40};

// For changes that no file shows: another client's command after the sight was handed over, and a
// daemon that stopped answering.
constexpr std::chrono::seconds HEARTBEAT_INTERVAL{5};

// Without a server the push fails thirty times a second: after this long without a failure it has
// found one.
constexpr std::chrono::seconds PUSH_TIMEOUT{2};

constexpr const char* CORE_FOLDER = "/var/lib/vtrcore";
constexpr const char* CORE_FAILURE = "/var/lib/vtrcore/fail";
constexpr const char* CAMERA_DEVICE = "/dev/video0";

// Full light, in the panel's units.
constexpr double FULL_LIGHT = 240.0;

std::optional<int> number_of(const std::string& text) {
    int number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc{} ? std::optional{number} : std::nullopt;
}

std::optional<std::size_t> index_of(const std::string& text) {
    const std::optional<int> number = number_of(text);
    return number && *number >= 0 ? std::optional{static_cast<std::size_t>(*number)} : std::nullopt;
}

template <typename Table> json value_at(const Table& table, std::optional<std::size_t> index) {
    return index && *index < table.size() ? json(table[*index]) : json();
}

template <typename Value> json or_null(const std::optional<Value>& value) {
    return value ? json(*value) : json();
}

// Empty also when the path is a folder.
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

sight_state::sight_state(const board_folder& board, daemon_client& daemon, std::string stock_scene,
                         std::function<void()> on_change)
    : board_(board), daemon_(daemon), stock_scene_(std::move(stock_scene)),
      on_change_(std::move(on_change)) {}

void sight_state::open() {
    watch_files();
    heartbeat_.every(HEARTBEAT_INTERVAL, [this] { ask_daemon(); });
    ask_daemon();
}

void sight_state::shut() {
    watch_.reset();
    heartbeat_.stop();
    soon_.stop();
}

void sight_state::watch_files() {
    watch_.emplace(
        [this](const std::string& /*folder*/, const std::string& /*name*/) { refresh(); });
    for (const char* const folder : {CORE_FOLDER, "/dev", "/etc", "/run"}) {
        watch_->add(board_.path(folder));
    }
    for (const char* const file : {sysfs_luminance, HDMI_CABLE_STATE}) {
        watch_->add(fs::path(board_.path(file)).parent_path());
    }
    watch_->add(fs::path(board_.scene_path()).parent_path());
}

void sight_state::refresh() {
    if (watch_ && !soon_.is_waiting()) {
        soon_.once(STATE_DELAY, [this] { ask_daemon(); });
    }
}

void sight_state::take_push_failures(unsigned count) {
    if (std::exchange(push_failures_, count) == count || count == 0) {
        return;
    }
    if (!push_fails_.is_waiting()) {
        refresh();
    }
    push_fails_.once(PUSH_TIMEOUT, [this] { refresh(); });
}

void sight_state::take_facts(std::optional<log_facts> facts) {
    take_push_failures(facts ? std::exchange(facts->push_failures, 0) : 0);
    // Lines without news must not cause a request: a debug log has lines about each.
    if (std::exchange(facts_, facts) != facts) {
        refresh();
    }
}

void sight_state::ask_daemon() {
    compose();
    if (daemon_.presence() != daemon_presence::up) {
        return; // it will be asked when it answers again
    }
    daemon_.ask("c:get_zoom:n:", [this](const reply& answer) { take_zoom(answer); });
    daemon_.ask("c:print_config:n:", [this](const reply& answer) { take_settings(answer); });
}

void sight_state::take_zoom(const reply& answer) {
    if (answer.is_done) {
        factor_index_ = index_of(answer.data);
    }
}

void sight_state::take_settings(const reply& answer) {
    if (!answer.is_done) {
        return;
    }
    settings_ = json::object();
    std::istringstream text{answer.data};
    for (std::string line; std::getline(text, line);) {
        const std::size_t end = line.find('=');
        if (end != std::string::npos) {
            settings_[line.substr(0, end)] = line.substr(end + 1);
        }
    }
    compose();
}

void sight_state::compose() {
    json state = {{"type", "state"}, {"daemon", name_of(daemon_.presence())}};
    add_outputs(state);
    add_sight(state);
    add_board(state);
    if (state != state_) {
        state_ = std::move(state);
        on_change_();
    }
}

// Without a daemon nothing runs.
json sight_state::fact(bool log_facts::*which) const {
    return facts_ ? json(daemon_.presence() != daemon_presence::gone && (*facts_).*which) : json();
}

void sight_state::add_outputs(json& state) const {
    state["recording"] = fact(&log_facts::recording);
    state["tcp_stream"] = fact(&log_facts::tcp_stream);
    state["http_stream"] = fact(&log_facts::http_stream);
    state["push_fails"] = push_fails_.is_waiting();
    state["camera"] = {{"plugged", is_there(board_.path(CAMERA_DEVICE))},
                       {"shown", fact(&log_facts::camera_shown)}};
}

void sight_state::add_sight(json& state) const {
    const auto setting = [this](const char* key) {
        const auto found = settings_.find(key);
        return found == settings_.end() ? std::nullopt
                                        : number_of(found->template get<std::string>());
    };
    const auto flag = [&setting](const char* key) {
        const std::optional<int> number = setting(key);
        return number ? json(*number != 0) : json();
    };
    const bool is_pip = setting("pip_mode").value_or(0) != 0;
    const std::optional<std::size_t> zoom = is_pip ? std::size_t{0} : factor_index_;
    const std::optional<int> luminance = setting("luminance");
    state["zoom"] = {{"index", or_null(zoom)}, {"factor", value_at(zoom_values, zoom)}};
    state["pip"] = {{"on", flag("pip_mode")},
                    {"index", is_pip ? or_null(factor_index_) : json()},
                    {"factor", is_pip ? value_at(pip_values, factor_index_) : json()}};
    state["luminance"] = {
        {"index", or_null(luminance)},
        {"level", value_at(lum_values, luminance ? index_of(std::to_string(*luminance))
                                                 : std::optional<std::size_t>{})}};
    state["reticle"] = flag("reticle");
    state["dot"] = flag("red_dot");
    state["handed_over"] = fact(&log_facts::handed_over);
    state["settings"] = settings_;
}

void sight_state::add_board(json& state) const {
    const bool has_broker = is_there(board_.broker_socket_path());
    const json level = number_in(sysfs_luminance);
    state["monitor"] = is_there(board_.path(HDMI_CABLE_STATE));
    const bool is_connected = fact(&log_facts::broker_connected) == true;
    state["broker"] = !has_broker ? "none" : is_connected ? "connected" : "there";
    state["core_fails"] = core_failure_status();
    const json light = level.is_null() ? json() : json(level.get<double>() / FULL_LIGHT);
    state["panel"] = {{"on", number_in(sysfs_active) != 0}, {"level", level}, {"light", light}};
    state["scene"] = whole_text(board_.scene_path()) == whole_text(stock_scene_) ? "stock" : "own";
}

// As for the tool: a file without a number is a failure, too.
json sight_state::core_failure_status() const {
    if (!is_there(board_.path(CORE_FAILURE))) {
        return {};
    }
    const json status = number_in(CORE_FAILURE);
    return status.is_null() ? json(1) : status;
}

json sight_state::number_in(const char* on_the_sight) const {
    const std::optional<std::string> line = board_.first_line(on_the_sight);
    return line ? or_null(number_of(*line)) : json();
}

} // namespace web

// Connects board, daemon and pages.
#include "controller.h"

#include "daemon_status.h"
#include "page_token.h"

#include "config/settings.h"
#include "util/value_tables.h"
#include "vtrdcctl/requests.h"

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <utility>

namespace web {
namespace {

using json = nlohmann::json;

// The command's name for users: when installed, a wrapper runs the script.
std::string sim_command_name() {
    const char* const name = std::getenv("VTRDC_FRONT_DOOR");
    return name != nullptr && *name != '\0' ? name : "scripts/sim";
}

// Values that commands choose by index.
json choices() {
    json images = json::array();
    json aims = json::array();
    for (const reticle_src& each : reticle_srcs) {
        images.push_back(std::filesystem::path(each.path).stem());
        aims.push_back({each.center_x, each.center_y});
    }
    return {{"luminance", lum_values},
            {"reticle_images", images},
            {"reticle_aims", aims},
            {"reticle_colors", reticle_colors}};
}

// Range of the command's only argument; null without limits.
json range_of(const command_arguments& taken) {
    const value_range& range = taken.rows.front().range;
    return taken.count == 1 && std::isfinite(range.most) ? json{range.least, range.most} : json();
}

// Null for a missing limit.
json limit(double value) {
    return std::isfinite(value) ? json(value) : json();
}

// All settings of the sight; texts have no range.
json settings_rows() {
    json rows = json::array();
    for (const parse_row& row : parse_table) {
        const bool is_text = std::holds_alternative<const char * settings::*>(row.field);
        rows.push_back(
            {{"key", row.key},
             {"range", is_text ? json() : json{limit(row.range.least), limit(row.range.most)}}});
    }
    return rows;
}

json hello(const std::string& board, const std::string& start) {
    json commands = json::array();
    for (const client_command& each : all_commands()) {
        commands.push_back({{"name", each.name},
                            {"arguments", each.takes.count},
                            {"range", range_of(each.takes)},
                            {"help", each.help}});
    }
    return {{"type", "hello"},
            {"board", board},
            {"sim_command", sim_command_name()},
            {"start_command", start},
            {"commands", commands},
            {"choices", choices()},
            {"settings", settings_rows()}};
}

json log_message(bool is_fresh, const std::deque<std::string>& lines) {
    return {{"type", "log"}, {"fresh", is_fresh}, {"lines", lines}};
}

} // namespace

controller::controller(const controller_options& options)
    : board_(options.board), start_(options.start), start_words_(options.start_words),
      sim_(options.sim, options.board), daemon_(board_.socket_path(), [this] { state_.refresh(); }),
      clients_({.greeting = [this] { return greeting(); },
                .on_presence = [this](bool has_clients) { follow_board(has_clients); },
                .on_request =
                    [this](const json& message, const response_callback& respond) {
                        handle_page_request({board_, sim_, daemon_, state_, start_words_}, message,
                                            respond);
                    }}),
      state_(board_, daemon_, options.stock_scene,
             [this] { clients_.broadcast(state_.message()); }),
      lists_(board_, [this](const json& list) { clients_.broadcast(list); }),
      panel_(board_.path("/dev")),
      log_(options.log,
           [this](bool is_fresh, const std::deque<std::string>& lines) {
               clients_.broadcast(log_message(is_fresh, lines));
           }),
      page_files_(options.page),
      server_({.board = board_,
               .sim = sim_,
               .page = page_files_,
               .on_event_client =
                   [this](std::unique_ptr<page_socket> from) { clients_.add(std::move(from)); },
               .on_picture_client =
                   [this](std::unique_ptr<page_socket> from) { panel_.add(std::move(from)); }},
              board_token(board_.path("/run/page.token"))) {}

std::vector<json> controller::greeting() const {
    std::vector<json> messages{hello(board_.folder(), start_)};
    for (const json* const each : {&state_.message(), &lists_.media(), &lists_.footage()}) {
        if (!each->is_null()) {
            messages.push_back(*each);
        }
    }
    messages.push_back(log_message(true, log_.last_lines()));
    return messages;
}

bool controller::is_needed() const {
    return clients_.has_clients() || !daemon_status(board_).is_null();
}

// Without pages, neither daemon nor board is accessed.
void controller::follow_board(bool has_clients) {
    if (has_clients) {
        daemon_.open();
        state_.open();
        lists_.open();
    } else {
        state_.shut();
        lists_.shut();
        daemon_.shut();
    }
}

} // namespace web

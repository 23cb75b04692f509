// Connects board, daemon and pages.
#include "controller.h"

#include "page_token.h"

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

// As a person calls it: installed, another program runs the script, and says so.
std::string sim_command_name() {
    const char* const name = std::getenv("VTRDC_FRONT_DOOR");
    return name != nullptr && *name != '\0' ? name : "scripts/sim";
}

// What commands choose from by index.
json choices() {
    json images = json::array();
    for (const reticle_src& each : reticle_srcs) {
        images.push_back(std::filesystem::path(each.path).stem());
    }
    return {
        {"luminance", lum_values}, {"reticle_images", images}, {"reticle_colors", reticle_colors}};
}

// Least and most that the command's only argument can be; null without limits.
json range_of(const command_arguments& taken) {
    const value_range& range = taken.rows.front().range;
    return taken.count == 1 && std::isfinite(range.most) ? json{range.least, range.most} : json();
}

json hello(const std::string& board, const std::string& start) {
    json commands = json::array();
    for (const client_command& each : all_commands()) {
        commands.push_back({{"name", each.name},
                            {"arguments", each.takes.count},
                            {"range", range_of(each.takes)},
                            {"help", each.help}});
    }
    return {{"type", "hello"},        {"board", board},       {"sim_command", sim_command_name()},
            {"start_command", start}, {"commands", commands}, {"choices", choices()}};
}

json log_message(bool is_fresh, const std::deque<std::string>& lines) {
    return {{"type", "log"}, {"fresh", is_fresh}, {"lines", lines}};
}

} // namespace

controller::controller(const controller_options& options)
    : board_(options.board), start_(options.start), sim_(options.sim, options.board),
      daemon_(board_.socket_path(), [this] { state_.refresh(); }),
      clients_({.greeting = [this] { return greeting(); },
                .on_presence = [this](bool has_clients) { follow_board(has_clients); },
                .on_request =
                    [this](const json& message, const response_callback& respond) {
                        handle_page_request({board_, sim_, daemon_, state_}, message, respond);
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

// The daemon and the board are left alone while nobody looks.
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

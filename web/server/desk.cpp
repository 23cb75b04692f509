// The bench behind its pages: the board, the daemon and what a page is told of them, put together.
#include "desk.h"

#include "util/value_tables.h"
#include "vtrdcctl/requests.h"

#include <cstdlib>
#include <filesystem>

namespace web {
namespace {

using json = nlohmann::json;

// As a person calls it: installed, another program stands before the script, and says so.
std::string front_door_name() {
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

json hello(const std::string& board, const std::string& start) {
    json commands = json::array();
    for (const client_command& each : all_commands()) {
        commands.push_back(
            {{"name", each.name}, {"arguments", each.takes.count}, {"help", each.help}});
    }
    return {{"type", "hello"},        {"board", board},       {"front_door", front_door_name()},
            {"start_command", start}, {"commands", commands}, {"choices", choices()}};
}

json log_message(bool is_fresh, const std::deque<std::string>& lines) {
    return {{"type", "log"}, {"fresh", is_fresh}, {"lines", lines}};
}

} // namespace

desk::desk(const desk_options& options)
    : board_(options.board), start_(options.start), door_(options.front_door, options.board),
      daemon_(board_.socket_path(), [this] { state_.refresh(); }),
      pages_({.greet = [this] { return greeting(); },
              .on_audience = [this](bool has_pages) { follow_board(has_pages); },
              .perform =
                  [this](const json& message, const act_end& on_end) {
                      perform_act({board_, door_, daemon_, state_}, message, on_end);
                  }}),
      state_(board_, daemon_, options.stock_scene, [this] { pages_.tell(state_.message()); }),
      lists_(board_, [this](const json& list) { pages_.tell(list); }), panel_(board_.path("/dev")),
      log_(options.log, log_listeners()),
      server_(options.page,
              {.board = board_,
               .door = door_,
               .on_events_page = [this](SoupWebsocketConnection* page) { pages_.add(page); },
               .on_picture_page = [this](SoupWebsocketConnection* page) { panel_.add(page); }}) {}

std::vector<json> desk::greeting() const {
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
void desk::follow_board(bool has_pages) {
    if (has_pages) {
        daemon_.open();
        state_.open();
        lists_.open();
    } else {
        state_.shut();
        lists_.shut();
        daemon_.shut();
    }
}

log_tail::listeners desk::log_listeners() {
    return {.on_begin = [this] { facts_.reset(); },
            .on_line = [this](std::string_view line) { take_line(facts_, line); },
            .on_news =
                [this](bool is_fresh, const std::deque<std::string>& lines) {
                    take_facts();
                    if (pages_.has_pages()) {
                        pages_.tell(log_message(is_fresh, lines));
                    }
                }};
}

void desk::take_facts() {
    state_.take_facts(facts_);
    lists_.take_recording(facts_ && facts_->recording);
}

} // namespace web

// What a page can ask for: commands of the daemon, and acts on the board.
#include "acts.h"

#include "button_rows.h"

#include "util/glib_owned.h"
#include "vtrdcctl/requests.h"
#include "vtrdcctl/status.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace web {
namespace {

using json = nlohmann::json;

std::string text_in(const json& message, const char* key) {
    const auto found = message.find(key);
    return found != message.end() && found->is_string() ? found->get<std::string>() : "";
}

// A usage_error when there is none.
bool flag_in(const json& message, const char* key) {
    const auto found = message.find(key);
    if (found == message.end() || !found->is_boolean()) {
        throw usage_error{std::string("needs \"") + key + "\", true or false"};
    }
    return found->get<bool>();
}

// As a shell takes it apart; a usage_error when a quote is left open, or there is no word.
std::vector<std::string> words_of(const std::string& line) {
    gint count = 0;
    gchar** parsed = nullptr;
    GError* failed = nullptr;
    g_shell_parse_argv(line.c_str(), &count, &parsed, &failed);
    const g_owned<gchar*> words(parsed);
    const g_error_owned error(failed);
    if (error) {
        throw usage_error{error->message};
    }
    return {parsed, parsed + count};
}

void act_command(const act_tools& tools, const json& message, const act_end& on_end) {
    const std::vector<std::string> words = words_of(text_in(message, "line"));
    const client_command& command = find_command(words.front());
    const std::string request = request_for(command, std::span(words).subspan(1));
    tools.daemon.ask(request, [on_end](const reply& answer) {
        const bool is_mute = !answer.is_done && answer.data.empty();
        on_end(answer.is_done, is_mute ? NO_REASON : answer.data);
    });
}

// Whatever else a page says must not become an option of the verb.
void act_press(const act_tools& tools, const json& message, const act_end& on_end) {
    const std::string button = text_in(message, "button");
    if (std::ranges::find(button_rows, button, &button_row::name) == std::end(button_rows)) {
        throw usage_error{"no such button"};
    }
    tools.door.run({"press", button}, on_end);
}

void act_camera(const act_tools& tools, const json& message, const act_end& on_end) {
    tools.door.run({"camera", flag_in(message, "on") ? "on" : "off"}, on_end);
}

void act_monitor(const act_tools& tools, const json& message, const act_end& on_end) {
    tools.door.run({"hdmi", flag_in(message, "on") ? "on" : "off"}, on_end);
}

void act_core(const act_tools& tools, const json& message, const act_end& on_end) {
    tools.door.run({"core", flag_in(message, "fails") ? "fail" : "work"}, on_end);
}

void act_footage(const act_tools& tools, const json& message, const act_end& on_end) {
    const std::string name = text_in(message, "name");
    if (!is_plain_name(name)) {
        throw usage_error{"no such footage"};
    }
    tools.door.run({"footage", tools.board.footage_folder() + "/" + name}, on_end);
}

void act_scene(const act_tools& tools, const json& message, const act_end& on_end) {
    if (!flag_in(message, "stock")) {
        throw usage_error{"which scene?"};
    }
    tools.door.run({"scene", "stock"}, on_end);
}

struct act_row {
    std::string_view name;
    void (*perform)(const act_tools&, const json&, const act_end&);
};

constexpr auto act_rows = std::to_array<act_row>({
    {"command", act_command},
    {"press", act_press},
    {"camera", act_camera},
    {"monitor", act_monitor},
    {"core", act_core},
    {"footage", act_footage},
    {"scene", act_scene},
});

} // namespace

void perform_act(const act_tools& tools, const json& message, const act_end& on_end) {
    const auto* const row = std::ranges::find(act_rows, text_in(message, "act"), &act_row::name);
    if (row == act_rows.end()) {
        on_end(false, "no such act");
        return;
    }
    const act_end end = [&state = tools.state, on_end](bool is_done, const std::string& text) {
        on_end(is_done, text);
        state.refresh();
    };
    try {
        row->perform(tools, message, end);
    } catch (const usage_error& error) {
        end(false, error.what());
    }
}

} // namespace web

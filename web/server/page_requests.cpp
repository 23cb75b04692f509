// A page's requests over its WebSocket: daemon commands, and verbs for the board.
#include "page_requests.h"

#include "board_lists.h"
#include "button_rows.h"

#include "util/glib_owned.h"
#include "vtrdcctl/exit_status.h"
#include "vtrdcctl/requests.h"
#include "vtrdcctl/wording.h"

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

// Throws usage_error if it is missing.
bool flag_in(const json& message, const char* key) {
    const auto found = message.find(key);
    if (found == message.end() || !found->is_boolean()) {
        throw usage_error{std::string("needs \"") + key + "\", true or false"};
    }
    return found->get<bool>();
}

// Splits like a shell. Throws usage_error for an unclosed quote or without words.
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

void send_command(const request_context& context, const json& message,
                  const response_callback& respond) {
    const std::vector<std::string> words = words_of(text_in(message, "line"));
    const client_command& command = find_command(words.front());
    const std::span arguments = std::span(words).subspan(1);
    const std::string reason = refusal_reason(command, arguments);
    context.daemon.ask(request_for(command, arguments), [respond, reason](const reply& answer) {
        const bool is_mute = !answer.is_done && answer.data.empty();
        respond(answer.is_done, is_mute ? reason : answer.data);
    });
}

// Only known names are passed on: others could be taken as options of the verb.
void press_button(const request_context& context, const json& message,
                  const response_callback& respond) {
    const std::string button = text_in(message, "button");
    if (std::ranges::find(button_rows, button, &button_row::name) == std::end(button_rows)) {
        throw usage_error{"no such button"};
    }
    context.sim.run({"press", button}, respond);
}

void plug_camera(const request_context& context, const json& message,
                 const response_callback& respond) {
    context.sim.run({"camera", flag_in(message, "on") ? "on" : "off"}, respond);
}

void plug_monitor(const request_context& context, const json& message,
                  const response_callback& respond) {
    context.sim.run({"hdmi", flag_in(message, "on") ? "on" : "off"}, respond);
}

void set_core_fault(const request_context& context, const json& message,
                    const response_callback& respond) {
    context.sim.run({"core", flag_in(message, "fails") ? "fail" : "work"}, respond);
}

void choose_footage(const request_context& context, const json& message,
                    const response_callback& respond) {
    const std::string name = text_in(message, "name");
    if (!is_plain_name(name)) {
        throw usage_error{"no such footage"};
    }
    context.sim.run({"footage", context.board.footage_folder() + "/" + name}, respond);
}

void restore_scene(const request_context& context, const json& message,
                   const response_callback& respond) {
    if (!flag_in(message, "stock")) {
        throw usage_error{"no such scene"};
    }
    context.sim.run({"scene", "stock"}, respond);
}

// Starts and restarts use the options that the page was started with.
void run_daemon(const request_context& context, const json& message,
                const response_callback& respond) {
    const std::string verb = text_in(message, "verb");
    std::vector<std::string> words{verb};
    if (verb == "start" || verb == "restart") {
        words.insert(words.end(), context.start_words.begin(), context.start_words.end());
    } else if (verb != "stop") {
        throw usage_error{"no such verb: start, stop or restart"};
    }
    context.sim.run(words, respond);
}

// Refuses to delete the camera's current footage and recordings in progress.
void delete_file(const request_context& context, const json& message,
                 const response_callback& respond) {
    const std::string kind = text_in(message, "kind");
    const std::string name = text_in(message, "name");
    if (!is_plain_name(name)) {
        throw usage_error{"no such file"};
    }
    std::string why;
    respond(delete_listed(context.board, kind, name, why), why);
}

constexpr auto page_requests = std::to_array<page_request>({
    {"command", send_command},
    {"press", press_button},
    {"camera", plug_camera},
    {"monitor", plug_monitor},
    {"core", set_core_fault},
    {"footage", choose_footage},
    {"scene", restore_scene},
    {"delete", delete_file},
    {"daemon", run_daemon},
});

} // namespace

std::span<const page_request> all_page_requests() {
    return page_requests;
}

void handle_page_request(const request_context& context, const json& message,
                         const response_callback& respond) {
    const auto* const row =
        std::ranges::find(page_requests, text_in(message, "request"), &page_request::name);
    if (row == page_requests.end()) {
        respond(false, "no such request");
        return;
    }
    const response_callback respond_and_refresh = [&state = context.state,
                                                   respond](bool is_done, const std::string& text) {
        respond(is_done, text);
        state.refresh();
    };
    try {
        row->handle(context, message, respond_and_refresh);
    } catch (const usage_error& error) {
        respond_and_refresh(false, error.what());
    }
}

} // namespace web

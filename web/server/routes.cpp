// The table of routes and their handlers.
#include "routes.h"

#include "file_response.h"
#include "http_response.h"
#include "soup_owned.h"
#include "upload.h"

#include <array>
#include <memory>
#include <string_view>
#include <unistd.h>

namespace web {
namespace {

// A scene is text. Footage has no such limit, since it is written to a file as it arrives.
constexpr goffset SCENE_BYTES_MAX = goffset{1024} * 1024;
constexpr goffset FOOTAGE_BYTES_MAX = goffset{4} * 1024 * 1024 * 1024;

// Runs a verb with a file and responds when it has ended, on success with `note`. On failure,
// removes the `kept` file, if any.
void run_and_respond(SoupServerMessage* request, const sim_command& sim,
                     const std::vector<std::string>& words, const std::string& note,
                     const std::string& kept = {}) {
    soup_server_message_pause(request);
    const std::shared_ptr<SoupServerMessage> waiting = own_shared(request);
    sim.run(words, [waiting, note, kept](bool is_done, const std::string& text) {
        if (!is_done && !kept.empty()) {
            unlink(kept.c_str());
        }
        respond(waiting.get(), is_done ? SOUP_STATUS_OK : SOUP_STATUS_CONFLICT, is_done,
                is_done ? note : text);
        soup_server_message_unpause(waiting.get());
    });
}

void get_page_file(const services& known, SoupServerMessage* request, const std::string& file) {
    const std::string name = file.empty() ? "index.html" : file;
    respond_with_file(request, is_plain_name(name) ? known.page.open_file(name) : opened_file{},
                      name);
}

void get_media(const services& known, SoupServerMessage* request, const std::string& name) {
    const char* const query = g_uri_get_query(soup_server_message_get_uri(request));
    if (query != nullptr && std::string_view(query) == "download") {
        soup_message_headers_replace(soup_server_message_get_response_headers(request),
                                     "Content-Disposition", "attachment");
    }
    const bool is_medium = name.starts_with("video/") || name.starts_with("image/");
    respond_with_file(request, is_medium ? known.board.open_media(name) : opened_file{}, name);
}

void post_footage(const services& known, SoupServerMessage* request, const std::string& name) {
    if (!is_plain_name(name)) {
        respond(request, SOUP_STATUS_BAD_REQUEST, false, "invalid file name");
        return;
    }
    std::string why;
    const std::string kept = upload_of(request).keep_as(name, why);
    if (kept.empty()) {
        respond(request, SOUP_STATUS_INSUFFICIENT_STORAGE, false, why);
        return;
    }
    const std::string kept_name = kept.substr(kept.rfind('/') + 1);
    run_and_respond(request, known.sim, {"footage", kept},
                    kept_name == name ? "" : "kept as " + kept_name, kept);
}

void post_scene(const services& known, SoupServerMessage* request, const std::string& /*none*/) {
    const upload& file = upload_of(request);
    if (!file.why_not().empty()) {
        respond(request, SOUP_STATUS_INSUFFICIENT_STORAGE, false, file.why_not());
    } else {
        run_and_respond(request, known.sim, {"scene", file.path()}, "");
    }
}

std::string footage_folder_of(const board_folder& board) {
    return board.footage_folder();
}

std::string temporary_folder_of(const board_folder& board) {
    return board.path("/tmp");
}

constexpr auto routes = std::to_array<route>({
    {.method = "GET", .path = "/", .parameter = "{file}", .handler = get_page_file},
    {.method = "GET", .path = "/media/", .parameter = "{kind}/{name}", .handler = get_media},
    {.method = "GET", .path = "/events", .client_handler = &services::on_event_client},
    {.method = "GET", .path = "/picture", .client_handler = &services::on_picture_client},
    {.method = "POST",
     .path = "/footage/",
     .parameter = "{name}",
     .handler = post_footage,
     .body_max = FOOTAGE_BYTES_MAX,
     .upload_folder = footage_folder_of},
    {.method = "POST",
     .path = "/scene",
     .handler = post_scene,
     .body_max = SCENE_BYTES_MAX,
     .upload_folder = temporary_folder_of},
});

} // namespace

std::span<const route> all_routes() {
    return routes;
}

} // namespace web

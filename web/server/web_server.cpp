// The server that browsers speak to: on loopback only, for the page itself only.
#include "web_server.h"

#include "file_answer.h"
#include "origins.h"
#include "upload.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <memory>
#include <utility>

namespace web {
namespace {

constexpr std::string_view footage_path = "/footage/";
constexpr const char* scene_path = "/scene";
constexpr std::string_view media_path = "/media/";

// A scene is text; footage is written to a file as it comes.
constexpr goffset scene_max = goffset{1024} * 1024;
constexpr goffset footage_max = goffset{4} * 1024 * 1024 * 1024;

// What belongs to a request until it ends.
constexpr const char* upload_key = "vtrdc-upload";

struct header {
    const char* name;
    const char* value;
};

// The page needs nothing from anywhere else, and belongs into nobody's frame.
constexpr auto safety_headers = std::to_array<header>({
    {"Content-Security-Policy",
     "default-src 'self'; img-src 'self' blob:; frame-ancestors 'none'; base-uri 'none'; "
     "form-action 'none'"},
    {"Cross-Origin-Resource-Policy", "same-origin"},
    {"Cross-Origin-Opener-Policy", "same-origin"},
    {"X-Content-Type-Options", "nosniff"},
    {"Referrer-Policy", "no-referrer"},
    // Files change under the hands of whoever works on them.
    {"Cache-Control", "no-cache"},
});

struct content_type {
    std::string_view ending;
    const char* name;
};

constexpr auto content_types = std::to_array<content_type>({
    {".html", "text/html; charset=utf-8"},
    {".css", "text/css; charset=utf-8"},
    {".js", "text/javascript; charset=utf-8"},
    {".svg", "image/svg+xml"},
    {".mp4", "video/mp4"},
    {".jpeg", "image/jpeg"},
});

const char* content_type_of(std::string_view name) {
    const auto* const found = std::ranges::find_if(
        content_types, [name](const content_type& row) { return name.ends_with(row.ending); });
    return found == content_types.end() ? "application/octet-stream" : found->name;
}

std::string_view header_of(SoupServerMessage* request, const char* name) {
    const char* const value =
        soup_message_headers_get_one(soup_server_message_get_request_headers(request), name);
    return value != nullptr ? value : "";
}

bool has_method(SoupServerMessage* request, std::string_view method) {
    return soup_server_message_get_method(request) == method;
}

// The library keeps a connection that its other side has closed while it waits for a next request,
// and each holds a descriptor. So there is one request to a connection.
void close_after(SoupServerMessage* request) {
    soup_message_headers_replace(soup_server_message_get_response_headers(request), "Connection",
                                 "close");
}

void refuse(SoupServerMessage* request, guint status) {
    soup_server_message_set_status(request, status, nullptr);
    close_after(request);
}

void answer(SoupServerMessage* request, guint status, bool is_done, const std::string& text) {
    const nlohmann::json said = {{"ok", is_done}, {"text", text}};
    const std::string body = said.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
    soup_server_message_set_status(request, status, nullptr);
    soup_server_message_set_response(request, "application/json", SOUP_MEMORY_COPY, body.data(),
                                     body.size());
}

void send_file(SoupServerMessage* request, opened_file file, std::string_view name) {
    if (!has_method(request, "GET") && !has_method(request, "HEAD")) {
        refuse(request, SOUP_STATUS_METHOD_NOT_ALLOWED);
    } else if (!file.file) {
        refuse(request, SOUP_STATUS_NOT_FOUND);
    } else {
        answer_with_file(request, std::move(file), content_type_of(name));
    }
}

// Runs a verb with a file, and answers the request when it has ended; `note` when that went well.
void run_and_answer(SoupServerMessage* request, const front_door& door,
                    const std::vector<std::string>& words, const std::string& note) {
    soup_server_message_pause(request);
    const std::shared_ptr<SoupServerMessage> waiting = own_shared(request);
    door.run(words, [waiting, note](bool is_done, const std::string& text) {
        answer(waiting.get(), is_done ? SOUP_STATUS_OK : SOUP_STATUS_CONFLICT, is_done,
               is_done ? note : text);
        soup_server_message_unpause(waiting.get());
    });
}

upload* upload_of(SoupServerMessage* request) {
    return static_cast<upload*>(g_object_get_data(G_OBJECT(request), upload_key));
}

void on_chunk(SoupServerMessage* request, GBytes* chunk, gpointer /*data*/) noexcept {
    gsize size = 0;
    const auto* const bytes = static_cast<const char*>(g_bytes_get_data(chunk, &size));
    upload_of(request)->add(bytes, size);
}

// Has the request's body written as it comes; what is not kept goes with the request.
void keep_body(SoupServerMessage* request, std::unique_ptr<upload> file) {
    give_to_request(request, upload_key, std::move(file));
    g_signal_connect(request, "got-chunk", G_CALLBACK(on_chunk), nullptr);
}

request_origin origin_of(SoupServerMessage* request) {
    return {.host = header_of(request, "Host"),
            .origin = header_of(request, "Origin"),
            .fetch_site = header_of(request, "Sec-Fetch-Site"),
            .is_navigation = header_of(request, "Sec-Fetch-Mode") == "navigate" &&
                             (has_method(request, "GET") || has_method(request, "HEAD"))};
}

} // namespace

// What the handlers of requests know.
struct web_server::context {
    services behind;
    contained_folder page;
    soup_owned<SoupServer> server;
    unsigned port = 0;
};

namespace {

using context = web_server::context;

void begin_upload(const context& server, SoupServerMessage* request, std::string_view path) {
    const bool is_footage = path.starts_with(footage_path);
    if (!is_footage && path != scene_path) {
        refuse(request, SOUP_STATUS_METHOD_NOT_ALLOWED);
        return;
    }
    SoupMessageHeaders* const headers = soup_server_message_get_request_headers(request);
    if (soup_message_headers_get_encoding(headers) != SOUP_ENCODING_CONTENT_LENGTH) {
        refuse(request, SOUP_STATUS_LENGTH_REQUIRED);
        return;
    }
    // One that is no number, or beyond all numbers, comes as a negative one.
    const goffset length = soup_message_headers_get_content_length(headers);
    if (length < 0 || length > (is_footage ? footage_max : scene_max)) {
        refuse(request, SOUP_STATUS_REQUEST_ENTITY_TOO_LARGE);
        return;
    }
    const board_place& board = server.behind.board;
    keep_body(request,
              std::make_unique<upload>(is_footage ? board.footage_folder() : board.path("/tmp")));
}

// Before the body comes. A request that has a status by then is answered, and goes no further.
void begin(const context& server, SoupServerMessage* request, std::string_view path) {
    // What nobody takes of a body is read and dropped.
    soup_message_body_set_accumulate(soup_server_message_get_request_body(request), FALSE);
    SoupMessageHeaders* const headers = soup_server_message_get_response_headers(request);
    for (const header& each : safety_headers) {
        soup_message_headers_replace(headers, each.name, each.value);
    }
    if (header_of(request, "Upgrade").empty()) {
        close_after(request);
    }
    if (!is_own_origin(origin_of(request), server.port)) {
        refuse(request, SOUP_STATUS_FORBIDDEN);
    } else if (has_method(request, "POST")) {
        begin_upload(server, request, path);
    }
}

void serve_page(const context& server, SoupServerMessage* request, std::string_view path) {
    const std::string name{path == "/" ? "index.html" : path.substr(1)};
    send_file(request, is_plain_name(name) ? server.page.open_file(name) : opened_file{}, name);
}

void serve_media(const context& server, SoupServerMessage* request, std::string_view path) {
    const board_place& board = server.behind.board;
    const std::string below{path.substr(std::min(path.size(), media_path.size()))};
    std::string folder = board.media_folder().substr(board.folder().size());
    folder.erase(0, folder.find_first_not_of('/'));
    const bool is_kind = below.starts_with("video/") || below.starts_with("image/");
    const char* const query = g_uri_get_query(soup_server_message_get_uri(request));
    if (query != nullptr && std::string_view(query) == "download") {
        soup_message_headers_replace(soup_server_message_get_response_headers(request),
                                     "Content-Disposition", "attachment");
    }
    const std::string relative = folder.empty() ? below : folder + "/" + below;
    send_file(request, is_kind ? board.files().open_file(relative) : opened_file{}, below);
}

void take_footage(const context& server, SoupServerMessage* request, std::string_view path) {
    upload* const file = upload_of(request);
    if (file == nullptr) {
        refuse(request, SOUP_STATUS_METHOD_NOT_ALLOWED);
        return;
    }
    const std::string name{path.substr(std::min(path.size(), footage_path.size()))};
    if (!is_plain_name(name)) {
        answer(request, SOUP_STATUS_BAD_REQUEST, false, "that is no name for a file");
        return;
    }
    std::string why;
    const std::string kept = file->keep_as(name, why);
    if (kept.empty()) {
        answer(request, SOUP_STATUS_INSUFFICIENT_STORAGE, false, why);
        return;
    }
    const std::string kept_name = kept.substr(kept.rfind('/') + 1);
    run_and_answer(request, server.behind.door, {"footage", kept},
                   kept_name == name ? "" : "kept as " + kept_name);
}

void take_scene(const context& server, SoupServerMessage* request, std::string_view /*path*/) {
    const upload* const file = upload_of(request);
    if (file == nullptr) {
        refuse(request, SOUP_STATUS_METHOD_NOT_ALLOWED);
    } else if (!file->why_not().empty()) {
        answer(request, SOUP_STATUS_INSUFFICIENT_STORAGE, false, file->why_not());
    } else {
        run_and_answer(request, server.behind.door, {"scene", file->path()}, "");
    }
}

// The library's form of a handler around ours.
template <auto handler>
void call(SoupServer* /*server*/, SoupServerMessage* request, const char* path,
          GHashTable* /*query*/, gpointer known) noexcept {
    handler(*static_cast<const context*>(known), request, path);
}

template <auto member>
void call_socket(SoupServer* /*server*/, SoupServerMessage* /*request*/, const char* /*path*/,
                 SoupWebsocketConnection* page, gpointer known) noexcept {
    (static_cast<const context*>(known)->behind.*member)(page);
}

struct route {
    const char* path;
    SoupServerCallback handler;
    SoupServerWebsocketCallback socket_handler;
};

// Each takes every path that begins with its own: no file of the page may be called so.
constexpr auto routes = std::to_array<route>({
    {"/", call<serve_page>, nullptr},
    {"/media", call<serve_media>, nullptr},
    {"/footage", call<take_footage>, nullptr},
    {scene_path, call<take_scene>, nullptr},
    {"/events", nullptr, call_socket<&web_server::services::on_events_page>},
    {"/picture", nullptr, call_socket<&web_server::services::on_picture_page>},
});

} // namespace

web_server::web_server(const std::string& page, services behind)
    : context_(new context{.behind = std::move(behind),
                           .page = contained_folder{page},
                           .server = soup_owned<SoupServer>(
                               soup_server_new("server-header", "vtrdc-web", nullptr))}) {
    SoupServer* const server = context_->server.get();
    for (const route& each : routes) {
        // Of the early handlers only the one of the closest path is called.
        soup_server_add_early_handler(server, each.path, call<begin>, context_.get(), nullptr);
        if (each.handler != nullptr) {
            soup_server_add_handler(server, each.path, each.handler, context_.get(), nullptr);
        } else {
            soup_server_add_websocket_handler(server, each.path, nullptr, nullptr,
                                              each.socket_handler, context_.get(), nullptr);
        }
    }
    // JPEG doesn't get smaller, and what stays on this machine needn't.
    soup_server_remove_websocket_extension(server, SOUP_TYPE_WEBSOCKET_EXTENSION_DEFLATE);
}

web_server::~web_server() {
    stop_listening();
}

void web_server::stop_listening() {
    soup_server_disconnect(context_->server.get());
}

bool web_server::listen(unsigned port, std::string& why) {
    GError* failed = nullptr;
    if (soup_server_listen_local(context_->server.get(), port, SOUP_SERVER_LISTEN_IPV4_ONLY,
                                 &failed) == FALSE) {
        why = g_error_owned(failed)->message;
        return false;
    }
    GSList* const addresses = soup_server_get_uris(context_->server.get());
    context_->port = static_cast<unsigned>(g_uri_get_port(static_cast<GUri*>(addresses->data)));
    g_slist_free_full(addresses,
                      [](gpointer each) noexcept { g_uri_unref(static_cast<GUri*>(each)); });
    return true;
}

std::string web_server::address() const {
    return "http://127.0.0.1:" + std::to_string(context_->port) + "/";
}

} // namespace web

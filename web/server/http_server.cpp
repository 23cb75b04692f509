// The HTTP server: on loopback only, for the page only, with its token only.
#include "http_server.h"

#include "http_response.h"
#include "origins.h"
#include "page_socket.h"
#include "page_token.h"
#include "soup_owned.h"
#include "upload.h"

#include <array>
#include <string_view>
#include <utility>
#include <vector>

namespace web {
namespace {

struct header {
    const char* name;
    const char* value;
};

// The page loads nothing from other origins, and no other page may embed it.
constexpr auto safety_headers = std::to_array<header>({
    {"Content-Security-Policy",
     "default-src 'self'; img-src 'self' blob:; frame-ancestors 'none'; base-uri 'none'; "
     "form-action 'none'"},
    {"Cross-Origin-Resource-Policy", "same-origin"},
    {"Cross-Origin-Opener-Policy", "same-origin"},
    {"X-Content-Type-Options", "nosniff"},
    {"Referrer-Policy", "no-referrer"},
    // Files may change at any time.
    {"Cache-Control", "no-cache"},
});

std::string_view header_of(SoupServerMessage* request, const char* name) {
    const char* const value =
        soup_message_headers_get_one(soup_server_message_get_request_headers(request), name);
    return value != nullptr ? value : "";
}

std::string_view method_of(SoupServerMessage* request) {
    return soup_server_message_get_method(request);
}

request_origin origin_of(SoupServerMessage* request) {
    const std::string_view method = method_of(request);
    return {.host = header_of(request, "Host"),
            .origin = header_of(request, "Origin"),
            .fetch_site = header_of(request, "Sec-Fetch-Site"),
            .is_navigation = header_of(request, "Sec-Fetch-Mode") == "navigate" &&
                             (method == "GET" || method == "HEAD")};
}

// libsoup calls a handler for every path that begins with its route's path.
bool is_path_of(const route& row, std::string_view path) {
    const bool has_parameter = *row.parameter != '\0';
    return has_parameter ? path.starts_with(row.path) : path == row.path;
}

bool is_method_of(const route& row, std::string_view method) {
    return method == row.method ||
           (method == "HEAD" && row.handler != nullptr && row.method == std::string_view("GET"));
}

// Each upload writes a file or runs a tool.
constexpr unsigned UPLOADS_MAX = 4;

// Counts an upload while its request exists.
class upload_place {
public:
    explicit upload_place(unsigned& taken) : taken_(taken) { ++taken_; }
    upload_place(const upload_place&) = delete;
    upload_place& operator=(const upload_place&) = delete;
    ~upload_place() { --taken_; }

private:
    unsigned& taken_;
};

void begin_upload(const route& row, const board_folder& board, unsigned& uploads,
                  SoupServerMessage* request) {
    if (uploads >= UPLOADS_MAX) {
        refuse(request, SOUP_STATUS_SERVICE_UNAVAILABLE);
        return;
    }
    SoupMessageHeaders* const headers = soup_server_message_get_request_headers(request);
    if (soup_message_headers_get_encoding(headers) != SOUP_ENCODING_CONTENT_LENGTH) {
        refuse(request, SOUP_STATUS_LENGTH_REQUIRED);
        return;
    }
    // An invalid or too large number is returned as negative.
    const goffset length = soup_message_headers_get_content_length(headers);
    if (length < 0 || length > row.body_max) {
        refuse(request, SOUP_STATUS_REQUEST_ENTITY_TOO_LARGE);
        return;
    }
    give_to_request(request, "vtrdc-upload-place", std::make_unique<upload_place>(uploads));
    receive_upload(request, row.upload_folder(board));
}

} // namespace

// A row of the table with its server.
struct served_route {
    http_server::context* server;
    const route* row;
};

struct http_server::context {
    services known;
    soup_owned<SoupServer> server;
    std::string token;
    std::vector<served_route> routes;
    unsigned port = 0;
    unsigned uploads = 0; // in progress

    // Cookies belong to a host regardless of the port, so each board's page needs its own name.
    [[nodiscard]] std::string cookie_name() const { return "vtrdc-page-" + std::to_string(port); }
};

namespace {

constexpr const char* TOKEN_PARAMETER = "token";
constexpr std::string_view HOW_TO_GET_IN =
    "This page needs its token: open the address that was printed when it was started.\n";

// The token comes with the address; later requests of the page send it in a cookie.
void set_cookie(const http_server::context& server, SoupServerMessage* request) {
    const std::string cookie =
        server.cookie_name() + "=" + server.token + "; Path=/; HttpOnly; SameSite=Strict";
    soup_message_headers_append(soup_server_message_get_response_headers(request), "Set-Cookie",
                                cookie.c_str());
}

// `query` contains the address's parameters, or is null.
bool has_token(const http_server::context& server, SoupServerMessage* request, GHashTable* query) {
    const auto* const given =
        query != nullptr ? static_cast<const char*>(g_hash_table_lookup(query, TOKEN_PARAMETER))
                         : nullptr;
    if (given != nullptr && is_token(given, server.token)) {
        set_cookie(server, request);
        return true;
    }
    return is_token(cookie_in(header_of(request, "Cookie"), server.cookie_name()), server.token);
}

// Called before the body is read. Setting a status ends the request.
void begin(const served_route& served, SoupServerMessage* request, std::string_view path,
           GHashTable* query) {
    const auto& [server, row] = served;
    // Body data without a receiver is read and dropped.
    soup_message_body_set_accumulate(soup_server_message_get_request_body(request), FALSE);
    SoupMessageHeaders* const headers = soup_server_message_get_response_headers(request);
    for (const header& each : safety_headers) {
        soup_message_headers_replace(headers, each.name, each.value);
    }
    // libsoup keeps a connection that the client closed while idle, with its descriptor. So each
    // connection serves one request.
    if (header_of(request, "Upgrade").empty()) {
        close_after(request);
    }
    if (!is_own_origin(origin_of(request), server->port)) {
        refuse(request, SOUP_STATUS_FORBIDDEN);
    } else if (!has_token(*server, request, query)) {
        refuse(request, SOUP_STATUS_FORBIDDEN, HOW_TO_GET_IN);
    } else if (!is_path_of(*row, path)) {
        refuse(request, SOUP_STATUS_NOT_FOUND);
    } else if (!is_method_of(*row, method_of(request))) {
        refuse(request, SOUP_STATUS_METHOD_NOT_ALLOWED);
    } else if (row->upload_folder != nullptr) {
        begin_upload(*row, server->known.board, server->uploads, request);
    }
}

// Adapters for libsoup.
void on_begin(SoupServer* /*server*/, SoupServerMessage* request, const char* path,
              GHashTable* query, gpointer served) noexcept {
    begin(*static_cast<const served_route*>(served), request, path, query);
}

void on_request(SoupServer* /*server*/, SoupServerMessage* request, const char* path,
                GHashTable* /*query*/, gpointer served) noexcept {
    const auto& [server, row] = *static_cast<const served_route*>(served);
    row->handler(server->known, request, path + std::string_view(row->path).size());
}

void on_client(SoupServer* /*server*/, SoupServerMessage* request, const char* /*path*/,
               SoupWebsocketConnection* connection, gpointer served) noexcept {
    const auto& [server, row] = *static_cast<const served_route*>(served);
    (server->known.*(row->client_handler))(
        std::make_unique<page_socket>(connection, soup_server_message_get_socket(request)));
}

// libsoup calls only the early handler with the longest matching path.
void add_route(SoupServer* server, served_route& served) {
    const char* const path = served.row->path;
    soup_server_add_early_handler(server, path, on_begin, &served, nullptr);
    if (served.row->handler != nullptr) {
        soup_server_add_handler(server, path, on_request, &served, nullptr);
    } else {
        soup_server_add_websocket_handler(server, path, nullptr, nullptr, on_client, &served,
                                          nullptr);
    }
}

} // namespace

http_server::http_server(services known, std::string token)
    : context_(new context{
          .known = std::move(known),
          .server = soup_owned<SoupServer>(soup_server_new("server-header", "vtrdc-web", nullptr)),
          .token = std::move(token),
          .routes = {}}) {
    SoupServer* const server = context_->server.get();
    for (const route& row : all_routes()) {
        context_->routes.push_back({context_.get(), &row});
    }
    for (served_route& each : context_->routes) {
        add_route(server, each);
    }
    // JPEG doesn't compress, and other messages stay on this machine.
    soup_server_remove_websocket_extension(server, SOUP_TYPE_WEBSOCKET_EXTENSION_DEFLATE);
}

http_server::~http_server() {
    soup_server_disconnect(context_->server.get());
}

bool http_server::listen(unsigned port, std::string& why) {
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

std::string http_server::address() const {
    return "http://127.0.0.1:" + std::to_string(context_->port) + "/?" + TOKEN_PARAMETER + "=" +
           context_->token;
}

} // namespace web

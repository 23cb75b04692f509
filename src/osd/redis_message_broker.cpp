// The link to the message broker: device notices published for an outside controller.
#include "osd/redis_message_broker.h"

#include "core/log.h"
#include "util/never_destroyed.h"
#include "util/sysroot.h"

#include <cstdio>
#include <cstring>
#include <hiredis/hiredis.h>
#include <memory>
#include <sys/time.h>
#include <utility>

namespace {

// Longest wait for an answer: clients and buttons wait meanwhile.
constexpr timeval ANSWER_TIMEOUT{.tv_sec = 1, .tv_usec = 0};

constexpr const char* MESSAGE_FORMAT = "{ \"VTRDC\": {\"message\": \"%s\" }}";
constexpr const char* CODE_FORMAT = "{ \"VTRDC\": {\"message\": \"%s\", \"code\": %d }}";
// Characters of the longest code, its sign included.
constexpr std::size_t CODE_LENGTH = 11;

struct context_deleter {
    void operator()(redisContext* context) const noexcept { redisFree(context); }
};
using context_owner = std::unique_ptr<redisContext, context_deleter>;

constinit never_destroyed<context_owner> connection; // none before the hand-over

} // namespace

int rmb_connect(const char* socket_path) {
    if (*connection) {
        return 1;
    }
    // Needs no time-out: a Unix socket connects or fails at once, also when the queue is full.
    context_owner context{redisConnectUnix(sysroot_path(socket_path).c_str())};
    if (!context) {
        log_message(LEVEL_WARN, "Can't allocate redis context");
        return 1;
    }
    if (context->err != 0) {
        log_message(LEVEL_WARN, "Redis connect error: %s", context->errstr);
        return 1;
    }
    redisSetTimeout(context.get(), ANSWER_TIMEOUT);
    *connection = std::move(context);
    return 0;
}

int rmb_pub_string(const char* channel, const char* message) {
    if (!*connection || message == nullptr) {
        return 1;
    }
    // None when the server is gone or silent; the notice is lost then.
    if (void* const reply = redisCommand(connection->get(), "PUBLISH %s %s", channel, message)) {
        freeReplyObject(reply);
    }
    return 0;
}

void rmb_disconnect() {
    connection->reset();
}

int rmb_is_connected() {
    return *connection ? 1 : 0;
}

malloc_text construct_json_message(const char* message) {
    const std::size_t size = std::strlen(MESSAGE_FORMAT) + std::strlen(message) + 1;
    malloc_text text = emalloc_text(size);
    std::snprintf(text.get(), size, MESSAGE_FORMAT, message);
    return text;
}

malloc_text construct_json_code_and_message(const char* message, int code) {
    const std::size_t size = std::strlen(CODE_FORMAT) + std::strlen(message) + CODE_LENGTH;
    malloc_text text = emalloc_text(size);
    std::snprintf(text.get(), size, CODE_FORMAT, message, code);
    return text;
}

int send_mb_event(event_message_index index) {
    const event_message& notice = event_messages[index];
    const malloc_text text = construct_json_code_and_message(notice.text, notice.code);
    return rmb_pub_string(notice.channel, text.get());
}

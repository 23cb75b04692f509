// Connection to the message broker: publishes device notices for an outside controller.
#include "osd/redis_message_broker.h"

#include "core/log.h"
#include "util/deadline.h"
#include "util/never_destroyed.h"
#include "util/sysroot.h"

#include <chrono>
#include <cstdio>
#include <cstring>
#include <hiredis/hiredis.h>
#include <memory>
#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <utility>

namespace {

// Time limit for a notice and its answer. Clients and buttons wait meanwhile.
constexpr std::chrono::seconds EXCHANGE_TIME{1};
constexpr timeval SEND_TIMEOUT{.tv_sec = EXCHANGE_TIME.count(), .tv_usec = 0};
// An answer is a number. If it is incomplete after this many reads, the server is broken.
constexpr int READS_MAX = 16;

constexpr const char* MESSAGE_FORMAT = "{ \"VTRDC\": {\"message\": \"%s\" }}";
constexpr const char* CODE_FORMAT = "{ \"VTRDC\": {\"message\": \"%s\", \"code\": %d }}";
// Length of the longest code, including the sign.
constexpr std::size_t CODE_LENGTH = 11;

struct context_deleter {
    void operator()(redisContext* context) const noexcept { redisFree(context); }
};
using context_owner = std::unique_ptr<redisContext, context_deleter>;

constinit never_destroyed<context_owner> connection; // none before the hand-over

bool is_readable(int fd, std::chrono::milliseconds time) {
    pollfd waiting{fd, POLLIN, 0};
    return poll(&waiting, 1, static_cast<int>(time.count())) == 1;
}

bool send_commands(redisContext& context) {
    int is_sent = 0;
    return redisBufferWrite(&context, &is_sent) == REDIS_OK && is_sent != 0;
}

// hiredis limits each read separately; without an overall deadline, a server that sends single
// bytes could block the daemon forever.
bool take_answer(redisContext& context, const deadline& until) {
    for (int reads = 0; reads < READS_MAX; ++reads) {
        if (!is_readable(context.fd, until.left()) || redisBufferRead(&context) != REDIS_OK) {
            return false;
        }
        void* answer = nullptr;
        if (redisGetReplyFromReader(&context, &answer) != REDIS_OK) {
            return false;
        }
        if (answer != nullptr) {
            freeReplyObject(answer);
            return true;
        }
    }
    return false;
}

} // namespace

int rmb_connect(const char* socket_path) {
    if (*connection) {
        return 1;
    }
    // No timeout needed: a Unix socket connects or fails at once, even if the queue is full.
    context_owner context{redisConnectUnix(sysroot_path(socket_path).c_str())};
    if (!context) {
        log_message(LEVEL_WARN, "Can't allocate redis context");
        return 1;
    }
    if (context->err != 0) {
        log_message(LEVEL_WARN, "Redis connect error: %s", context->errstr);
        return 1;
    }
    redisSetTimeout(context.get(), SEND_TIMEOUT);
    *connection = std::move(context);
    return 0;
}

int rmb_pub_string(const char* channel, const char* message) {
    if (!*connection || message == nullptr) {
        return 1;
    }
    redisContext& context = **connection;
    if (context.err != 0) {
        return 0; // don't queue what can't be sent
    }
    const deadline until{EXCHANGE_TIME};
    // If the server is gone or silent, this notice and all later ones are lost: a late answer would
    // be taken for a later notice's.
    if (redisAppendCommand(&context, "PUBLISH %s %s", channel, message) != REDIS_OK ||
        !send_commands(context) || !take_answer(context, until)) {
        shutdown(context.fd, SHUT_RDWR);
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

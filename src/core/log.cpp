// The daemon's log: one call, four levels, every line flushed at once.
#include "core/log.h"

#include "util/private_file.h"

#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <stdio_ext.h>

int log_verbose = 0;

namespace {

// Includes the terminator.
constexpr std::size_t MESSAGE_SIZE = 1024;

// Owned unless it is standard output. log_close closes it.
FILE* log_stream = nullptr;

using stamp_text = std::array<char, 26>; // size required by ctime_r

stamp_text time_stamp() {
    stamp_text text{};
    const std::time_t now = std::time(nullptr);
    if (ctime_r(&now, text.data()) == nullptr) {
        return {};
    }
    const std::size_t length = std::strlen(text.data());
    if (length > 0 && text[length - 1] == '\n') {
        text[length - 1] = '\0';
    }
    return text;
}

// Called before any formatting: DEBUG lines that are not written must cost almost nothing.
bool is_written(int level) {
    return level >= (log_verbose != 0 ? LEVEL_DEBUG : LEVEL_INFO) && level <= LEVEL_ERROR;
}

FILE* stream() {
    if (log_stream == nullptr) {
        log_stream = stdout;
    }
    return log_stream;
}

void write_line(int level, const char* message, int error_number) {
    constexpr std::array labels{"DEBUG", "INFO", "WARN"};
    const stamp_text stamp = time_stamp();
    if (level == LEVEL_ERROR) {
        std::fprintf(stream(), "%s [ERROR][errno=%d]: %s\n", stamp.data(), error_number, message);
    } else {
        std::fprintf(stream(), "%s [%s]: %s\n", stamp.data(),
                     labels.at(static_cast<std::size_t>(level)), message);
    }
}

[[gnu::format(printf, 3, 0)]] void write_message(int level, int error_number, const char* format,
                                                 std::va_list arguments) {
    std::array<char, MESSAGE_SIZE> message; // filled by vsnprintf below
    std::vsnprintf(message.data(), message.size(), format, arguments);
    write_line(level, message.data(), error_number);
}

// Streaming threads may still run: see util/never_destroyed.h.
[[noreturn]] void end_process() {
    std::exit(1);
}

} // namespace

void log_open(const char* path) {
    log_stream = nullptr;
    if (path != nullptr) {
        log_stream = open_private_file(path, O_RDWR | O_APPEND, "a+").release();
    }
    if (log_stream == nullptr) {
        log_stream = stdout;
    }
}

void log_close() {
    if (log_stream != nullptr && log_stream != stdout) {
        std::fclose(log_stream);
        log_stream = nullptr;
    }
}

int log_message(int level, const char* format, ...) {
    const int error_number = errno;
    if (is_written(level)) {
        std::va_list arguments;
        va_start(arguments, format);
        write_message(level, error_number, format, arguments);
        va_end(arguments);
    }
    if (level == LEVEL_ERROR) {
        end_process();
    }
    // Checking is cheaper than flushing, and there is almost never anything to flush.
    return __fpending(stream()) == 0 ? 0 : std::fflush(stream());
}

void log_fatal(const char* format, ...) {
    const int error_number = errno;
    std::va_list arguments;
    va_start(arguments, format);
    write_message(LEVEL_ERROR, error_number, format, arguments);
    va_end(arguments);
    end_process();
}

// The last failure of each kind.
#include "core/failures.h"

#include "core/log.h"
#include "util/never_destroyed.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace {

constexpr std::size_t TEXT_SIZE = 1024; // maximum size of a log message

constinit never_destroyed<std::array<failure, failure_names.size()>> failures;
unsigned int revision = 0;

void remember(failure& last, std::time_t now, const char* text) {
    if (last.when != now || std::strcmp(last.text.get(), text) != 0) {
        last = {.when = now, .text = estrdup(text)};
        ++revision;
    }
}

} // namespace

void log_failure(failure_kind kind, const char* format, ...) {
    std::array<char, TEXT_SIZE> text; // filled by vsnprintf below
    std::va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text.data(), text.size(), format, arguments);
    va_end(arguments);
    log_message(LEVEL_WARN, "%s", text.data());
    remember(failures->at(static_cast<std::size_t>(kind)), std::time(nullptr), text.data());
}

std::span<const failure> last_failures() {
    return *failures;
}

unsigned int failures_revision() {
    return revision;
}

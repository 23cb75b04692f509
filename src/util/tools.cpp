// Runs other programs.
#include "util/tools.h"

#include "core/failures.h"
#include "core/imem.h"
#include "core/log.h"
#include "core/signals.h"
#include "util/tool_process.h"

#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <sys/wait.h>

namespace {

constexpr std::size_t COMMAND_SIZE = 256;

using reason_text = std::array<char, 128>;

reason_text reason_of(const tool_end& end) {
    reason_text text{};
    if (end.status == TOOL_TIMED_OUT) {
        std::snprintf(text.data(), text.size(), "took more than %d seconds and was killed",
                      static_cast<int>(TOOL_TIME_MAX.count()));
    } else if (end.status == TOOL_NOT_RUN) {
        std::snprintf(text.data(), text.size(), "can't be run (%s)", std::strerror(end.error));
    } else if (WIFSIGNALED(end.status)) {
        std::snprintf(text.data(), text.size(), "was ended by signal %d", WTERMSIG(end.status));
    } else {
        std::snprintf(text.data(), text.size(), "failed with status %d", WEXITSTATUS(end.status));
    }
    return text;
}

void warn_of(const char* command, const tool_end& end) {
    const char* const separator = end.output.empty() ? "" : ": ";
    log_failure(failure_kind::tool, "Tool %s: %s%s%s", reason_of(end).data(), command, separator,
                end.output.c_str());
}

} // namespace

int exec_system_cmd(const char* format, ...) {
    const malloc_text command = emalloc_text(COMMAND_SIZE);
    std::va_list arguments;
    va_start(arguments, format);
    const int length = std::vsnprintf(command.get(), COMMAND_SIZE, format, arguments);
    va_end(arguments);
    if (length < 0 || static_cast<std::size_t>(length) >= COMMAND_SIZE) {
        log_failure(failure_kind::tool, "system cmd too long, not executed: %s", command.get());
        return TOOL_NOT_RUN;
    }
    if (stop_was_asked_for()) {
        log_message(LEVEL_WARN, "Tool not started, the daemon is to stop: %s", command.get());
        return TOOL_NOT_STARTED;
    }
    log_message(LEVEL_INFO, "Executing system cmd: %s", command.get());
    const tool_end end = run_tool(command.get());
    if (end.status != 0) {
        warn_of(command.get(), end);
    }
    return end.status;
}

// Reads the status file of a board's daemon.
#include "daemon_status.h"

#include "core/status.h"

#include <cerrno>
#include <csignal>

namespace web {
namespace {

// EPERM: it runs as another user.
bool is_running(pid_t process) {
    return process > 0 && (kill(process, 0) == 0 || errno == EPERM);
}

} // namespace

nlohmann::json daemon_status(const board_folder& board) {
    const std::string text = board.first_line(STATUS_FILE).value_or("");
    nlohmann::json status = nlohmann::json::parse(text, nullptr, false);
    const bool is_status =
        status.is_object() && status.contains("pid") && status["pid"].is_number_integer();
    return is_status && is_running(status["pid"].get<pid_t>()) ? status : nlohmann::json();
}

} // namespace web

// A daemon with planned failures, and the results.
#include "subject.h"

#include "fault/planned.h"
#include "soak/ends.h"
#include "support/file_watch.h"

#include <array>
#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

// The last line of the start before the loop.
constexpr const char* SERVING = "Executing system cmd: vtrcore shutter-movement";
constexpr const char* NOT_SENT = "[WARN]: Failed to send data through client socket\n";
constexpr const char* AFTERWARDS = "c:get_pip:n:";
constexpr const char* ANSWER = "r:get_pip:s:";

bool has_data(int connection, std::chrono::milliseconds timeout) {
    pollfd waiting{connection, POLLIN, 0};
    return poll(&waiting, 1, static_cast<int>(timeout.count())) == 1;
}

} // namespace

fault_subject::fault_subject()
    : board_{"http_url=http://127.0.0.1:9/nowhere\n"}, plan_{map_plan(board_.at("/plan"))},
      log_{board_.at("/daemon.out")} {}

fault_subject::~fault_subject() {
    munmap(plan_, sizeof(fault_plan));
}

std::vector<std::string> fault_subject::environment() const {
    return failing_environment(board_.at("/plan"));
}

void fault_subject::plan(failing_call call, int number, int error) {
    plan_failure(*plan_, call, number, error);
    log_.mark();
}

happening fault_subject::judge_end() {
    const int status = daemon_->wait_exit(WAIT_LIMIT);
    daemon_.reset();
    const std::string& log = said();
    const std::size_t line = log.rfind("[ERROR][errno=");
    if (status == 1 && line != std::string::npos) {
        return happening::ended;
    }
    ADD_FAILURE() << "it ended with status " << status << "; its log:\n" << log;
    return happening::wrong;
}

happening fault_subject::start(const std::vector<std::string>& options) {
    log_ = log_reader{board_.at("/daemon.out")};
    daemon_.emplace(board_, options, environment());
    const bool decided = wait_for_file(
        log_.path(), [&] { return log_.count(SERVING) > 0 || log_.count("[ERROR]") > 0; },
        WAIT_LIMIT);
    EXPECT_TRUE(decided) << "it hangs; its log:\n" << said();
    if (log_.count("[ERROR]") > 0) {
        return judge_end();
    }
    // An answer shows that the loop is running.
    if (!decided || !daemon_->ask(AFTERWARDS).starts_with(ANSWER)) {
        return judge_end();
    }
    return board_.wait_for_frames(2) ? happening::answered : happening::wrong;
}

int fault_subject::run(const std::vector<std::string>& options) {
    daemon_.emplace(board_, options, environment());
    const int status = daemon_->wait_exit(WAIT_LIMIT);
    daemon_.reset();
    return status;
}

result fault_subject::receive(int connection) {
    constexpr std::chrono::milliseconds look_every{50};
    const auto end = std::chrono::steady_clock::now() + WAIT_LIMIT;
    while (!has_data(connection, look_every)) {
        if (log_.count(NOT_SENT) > 0) {
            return {happening::dropped, ""};
        }
        if (std::chrono::steady_clock::now() > end) {
            ADD_FAILURE() << "it hangs; its log:\n" << said();
            return {happening::wrong, ""};
        }
    }
    std::array<char, 65536> reply{};
    const ssize_t length = recv(connection, reply.data(), reply.size(), 0);
    if (length <= 0) {
        return {happening::closed, ""};
    }
    return {happening::answered, {reply.data(), static_cast<std::size_t>(length)}};
}

result fault_subject::ask(const std::string& request) {
    const int connection = daemon_->connect();
    result first{happening::closed, ""};
    if (connection >= 0 && send(connection, request.data(), request.size(), MSG_NOSIGNAL) > 0) {
        first = receive(connection);
    }
    if (first.what == happening::answered) {
        log_.since_mark();
        send(connection, AFTERWARDS, std::char_traits<char>::length(AFTERWARDS), MSG_NOSIGNAL);
        static_cast<void>(receive(connection));
    }
    close(connection);
    forget_plan();
    // It lives if it answers another request.
    const int other = daemon_->connect();
    const bool lives = other >= 0 && ask_over(other, AFTERWARDS).starts_with(ANSWER);
    close(other);
    if (first.what != happening::wrong && !lives) {
        first.what = judge_end();
    }
    return first;
}

void fault_subject::must_answer(const std::string& request) {
    EXPECT_NE(daemon_->ask(request), "") << request;
    // Settings are rewritten before the next request is read.
    EXPECT_TRUE(daemon_->ask(AFTERWARDS).starts_with(ANSWER));
}

void fault_subject::tidy_up() {
    must_answer("c:resume_video:n:");
    end_pipes(*daemon_, log_, {2, 3, 4, 5, 6, 7, 8, 9});
}

happening fault_subject::stop() {
    daemon_->signal(SIGTERM);
    const int status = daemon_->wait_exit(WAIT_LIMIT);
    const bool in_order = status == 0 && said().ends_with("[INFO]: Goodbye\n");
    const bool by_error = status == 1 && log_.count("[ERROR][errno=") > 0;
    EXPECT_TRUE(in_order || by_error) << "it stopped with " << status << "; its log:\n" << said();
    daemon_.reset();
    forget_plan(); // a stop that made fewer calls must not leave the failure to the next start
    return in_order ? happening::answered : by_error ? happening::ended : happening::wrong;
}

// The daemon whose calls fail as planned, and what comes of it.
#pragma once

#include "fault_plan.h"
#include "soak/log_reader.h"
#include "support/daemon.h"

#include <optional>

// What became of a request, or of a start or stop.
enum class happening {
    answered, // or, started, or stopped in good order
    closed,   // the connection was closed without a reply
    dropped,  // no reply, but the connection lives
    ended,    // by an ERROR line with status 1
    wrong,    // crashed, hung, or nonsense: a test failure was added
};

struct result {
    happening what;
    std::string reply;
};

class fault_subject {
public:
    fault_subject();
    fault_subject(const fault_subject&) = delete;
    fault_subject& operator=(const fault_subject&) = delete;
    ~fault_subject();

    // One call fails from now on: of this kind, and this number of them.
    void plan(failing_call call, int number, int error);
    // All calls work; how many were made since the plan is kept.
    void forget_plan() { plan_->call = failing_call::none; }
    [[nodiscard]] bool has_failed() const { return plan_->failed_from != 0; }
    // Where in the program, for addr2line.
    [[nodiscard]] std::uintptr_t failed_from() const { return plan_->failed_from; }
    [[nodiscard]] int made(failing_call call) const {
        return plan_->made[static_cast<std::size_t>(call)];
    }

    [[nodiscard]] bool is_running() const { return daemon_.has_value(); }
    // Starts it and waits until it serves.
    happening start(const std::vector<std::string>& options = {});
    // Starts it and waits for its end: the status.
    int run(const std::vector<std::string>& options);
    // Sends one request over a connection of its own and then, over the same, another: what the
    // first one leads to is done by then.
    result ask(const std::string& request);
    // Without a plan: the request must be answered.
    void must_answer(const std::string& request);
    // Ends outputs and splash, and lets pipes go on that were paused.
    void tidy_up();
    // Asks it to stop, and waits.
    happening stop();
    // Ends it somehow.
    void give_up() { daemon_.reset(); }

    // What it said since the plan was made.
    [[nodiscard]] const std::string& said() { return log_.since_mark(); }

private:
    [[nodiscard]] std::vector<std::string> environment() const;
    [[nodiscard]] result receive(int connection);
    // It has ended, or is about to: was that by an ERROR line?
    [[nodiscard]] happening judge_end();

    board board_;
    fault_plan* plan_;
    std::optional<vtrdc_daemon> daemon_;
    log_reader log_;
};

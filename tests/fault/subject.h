// A daemon with planned failures, and the results.
#pragma once

#include "fault_plan.h"
#include "soak/log_reader.h"
#include "support/daemon.h"

#include <array>
#include <optional>
#include <ostream>

// Result of a request, a start or a stop.
enum class happening {
    answered, // or started, or stopped in order
    closed,   // the connection was closed without a reply
    dropped,  // no reply, but the connection works
    ended,    // by an ERROR line with status 1
    wrong,    // crashed, hung, or sent nonsense: a test failure was added
};

inline void PrintTo(happening what, std::ostream* out) {
    constexpr std::array names{"answered", "closed", "dropped", "ended", "wrong"};
    *out << names.at(static_cast<std::size_t>(what));
}

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

    // Makes one call fail: the given one of this kind from now on.
    void plan(failing_call call, int number, int error);
    // Makes all calls work; keeps the counts since the plan.
    void forget_plan() { plan_->call = failing_call::none; }
    [[nodiscard]] bool has_failed() const { return plan_->failed_from != 0; }
    // Address of the failed call, for addr2line.
    [[nodiscard]] std::uintptr_t failed_from() const { return plan_->failed_from; }
    [[nodiscard]] int made(failing_call call) const {
        return plan_->made[static_cast<std::size_t>(call)];
    }

    [[nodiscard]] bool is_running() const { return daemon_.has_value(); }
    // Starts it and waits until it serves.
    happening start(const std::vector<std::string>& options = {});
    // Starts it and waits for its end; returns the status.
    int run(const std::vector<std::string>& options);
    // Sends a request and then another on the same connection: the effects of the first are
    // complete by then.
    result ask(const std::string& request);
    // Without a plan: the request must succeed.
    void must_answer(const std::string& request);
    // Ends outputs and splash, and resumes paused pipes.
    void tidy_up();
    // Requests a stop and waits for the end.
    happening stop();
    // Ends it in any way.
    void give_up() { daemon_.reset(); }

    // Its output since the plan.
    [[nodiscard]] const std::string& said() { return log_.since_mark(); }

private:
    [[nodiscard]] std::vector<std::string> environment() const;
    [[nodiscard]] result receive(int connection);
    // True if it ends with an ERROR line.
    [[nodiscard]] happening judge_end();

    board board_;
    fault_plan* plan_;
    std::optional<vtrdc_daemon> daemon_;
    log_reader log_;
};

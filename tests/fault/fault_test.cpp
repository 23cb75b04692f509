// One failing call at a time, through start, all commands and stop: each ends in its reply, or in
// an ERROR line and status 1. The daemon never crashes or hangs.
#include "api/api.h"
#include "subject.h"
#include "tour.h"

#include <algorithm>
#include <cerrno>
#include <gtest/gtest.h>
#include <iostream>
#include <ranges>

namespace {

// Tries every call, or one of this many.
std::size_t sample_of = 40;

#ifdef VTRDC_TEST_LEAVE_MEMORY
constexpr bool MEMORY_FAILS = false;
#else
constexpr bool MEMORY_FAILS = true;
#endif

// Allowed results of a request when such a call fails.
enum : unsigned { ANSWERED = 1, CLOSED = 2, DROPPED = 4, ENDED = 8 };

struct call_rule {
    failing_call call;
    const char* name;
    int error;
    unsigned allowed;
    const char* last_words = ""; // ERROR text if it ends
};

constexpr call_rule rules[] = {
    {failing_call::accept, "accept4", EMFILE, ENDED, "failed to accept client connection\n"},
    {failing_call::bind, "bind", EADDRINUSE, ENDED, "Failed to bind server file socket: ret: -1"},
    {failing_call::fflush, "fflush", ENOSPC, ANSWERED},
    {failing_call::fopen, "fopen", EMFILE, ANSWERED | ENDED, "Failed to write luminance to /sys"},
    {failing_call::fork, "fork", EAGAIN, ENDED},
    {failing_call::fread, "fread", EIO, ANSWERED},
    {failing_call::fsync, "fsync", EIO, ANSWERED},
    {failing_call::fwrite, "fwrite", ENOSPC, ANSWERED | ENDED, "Failed to write luminance to /sys"},
    {failing_call::listen, "listen", EADDRINUSE, ENDED, "Failed to listen to server file socket\n"},
    {failing_call::malloc, "malloc", ENOMEM, ANSWERED | ENDED},
    {failing_call::mkdir, "mkdir", ENOSPC, ANSWERED},
    {failing_call::new_object, "operator new", ENOMEM, ENDED, "out of memory\n"},
    {failing_call::open, "open", EMFILE, ANSWERED},
    {failing_call::opendir, "opendir", EMFILE, ANSWERED},
    {failing_call::pipe, "pipe2", EMFILE, ANSWERED},
    {failing_call::poll, "poll", EINTR, ANSWERED},
    {failing_call::read, "read", EIO, ANSWERED | ENDED, "failed reading signal event\n"},
    {failing_call::realloc, "realloc", ENOMEM, ENDED, "malloc of "},
    {failing_call::recv, "recv", ECONNRESET, ANSWERED | CLOSED},
    {failing_call::send, "send", EPIPE, ANSWERED | DROPPED},
    {failing_call::signalfd, "signalfd", EMFILE, ENDED, "Failed to set up the signals\n"},
    {failing_call::sigprocmask, "sigprocmask", EINVAL, ENDED, "Failed to set up the signals\n"},
    {failing_call::socket, "socket", EMFILE, ENDED, "Failed to create server file socket\n"},
    {failing_call::spawn, "posix_spawn", EAGAIN, ANSWERED},
    {failing_call::stat, "stat", EIO, ANSWERED},
    {failing_call::statvfs, "statvfs", EIO, ANSWERED},
    {failing_call::timer_create, "timerfd_create", EMFILE, ENDED, "Failed to create timer fd\n"},
    {failing_call::timer_set, "timerfd_settime", EINVAL, ENDED, "Could not start timer\n"},
    {failing_call::waitpid, "waitpid", ECHILD, ANSWERED},
};

const call_rule& rule_of(failing_call call) {
    return *std::ranges::find(rules, call, &call_rule::call);
}

unsigned bit_of(happening what) {
    switch (what) {
    case happening::answered:
        return ANSWERED;
    case happening::closed:
        return CLOSED;
    case happening::dropped:
        return DROPPED;
    case happening::ended:
        return ENDED;
    case happening::wrong:
        break;
    }
    return 0;
}

struct fault {
    failing_call call;
    int number;
};

class FaultTest : public testing::Test {
protected:
    // The calls made since the plan; each is a fault to try.
    std::vector<fault> faults() {
        std::vector<fault> all;
        for (const call_rule& rule : rules) {
            for (int number = 1; number <= subject_.made(rule.call); ++number) {
                all.push_back({rule.call, number});
            }
        }
        return all;
    }
    // Selects the sample by a running count.
    bool is_drawn() { return drawn_++ % sample_of == 0; }

    void plan(const fault& fault) {
        subject_.plan(fault.call, fault.number, rule_of(fault.call).error);
    }
    // A fault that occurred must lead to an allowed result.
    void judge(const fault& fault, happening what) {
        const call_rule& rule = rule_of(fault.call);
        if (!subject_.has_failed()) {
            EXPECT_EQ(what, happening::answered);
            return;
        }
        ++tried_;
        EXPECT_TRUE((rule.allowed & bit_of(what)) != 0)
            << testing::PrintToString(what) << ", at " << std::hex << subject_.failed_from()
            << "; its log:\n"
            << subject_.said();
        if (what == happening::ended) {
            EXPECT_NE(subject_.said().find(rule.last_words), std::string::npos) << subject_.said();
        }
    }
    void TearDown() override { std::cout << tried_ << " faults tried" << std::endl; }

    fault_subject subject_;
    std::size_t drawn_ = 0;
    int tried_ = 0;
};

std::string describe(const fault& fault) {
    return std::string{rule_of(fault.call).name} + " number " + std::to_string(fault.number);
}

// --- The tour --------------------------------------------------------------------------------

class TourTest : public FaultTest {
protected:
    // Prepares the daemon for the step.
    void get_ready(const tour_step& step) {
        subject_.forget_plan();
        if (!subject_.is_running()) {
            ASSERT_EQ(subject_.start(), happening::answered);
        }
        if (step.before != nullptr) {
            subject_.must_answer(step.before);
        }
    }
    void leave(const tour_step& step) {
        if (!subject_.is_running()) {
            return;
        }
        if (step.once) {
            subject_.give_up();
        } else {
            subject_.tidy_up();
        }
    }
    result take(const tour_step& step, const fault& fault) {
        SCOPED_TRACE(step.request + (", " + describe(fault)));
        get_ready(step);
        plan(fault);
        result result = subject_.ask(step.request);
        judge(fault, result.what);
        return result;
    }
    std::vector<fault> look_at(const tour_step& step) {
        get_ready(step);
        subject_.plan(failing_call::none, 0, 0);
        EXPECT_EQ(subject_.ask(step.request).what, happening::answered) << step.request;
        std::vector<fault> all = faults();
        leave(step);
        return all;
    }
};

TEST_F(TourTest, TourHasEveryCommand) {
    for (const command_row& row : cmd_list) {
        const std::string head = std::string{"c:"} + row.name + ":";
        const bool is_there = std::ranges::any_of(tour, [&](const tour_step& step) {
            return std::string_view{step.request}.starts_with(head);
        });
        EXPECT_TRUE(is_there) << row.name << " has no step in tests/fault/tour.h";
    }
}

TEST_F(TourTest, EachEndsInItsReplyOrAnErrorLine) {
    for (const tour_step& step : tour) {
        for (const fault& fault : look_at(step)) {
            if (is_drawn()) {
                take(step, fault);
                leave(step);
            }
            if (HasFatalFailure()) {
                return;
            }
        }
    }
}

// --- Exact results -----------------------------------------------------------------------------

struct known_case {
    tour_step step;
    fault failing;
    happening what;
    const char* reply;
    const char* said;
};

constexpr const char* NO_SPACE_QUERY =
    "[WARN]: Failed to query the system for the remaing space in /media/\n";

const known_case known_cases[] = {
    {{"c:enable_record:i:1"},
     {failing_call::statvfs, 1},
     happening::answered,
     "e:enable_record:n:",
     NO_SPACE_QUERY},
    {{"c:make_snapshot:n:"},
     {failing_call::statvfs, 1},
     happening::answered,
     "e:make_snapshot:n:",
     NO_SPACE_QUERY},
    // Existing names are unknown: nothing is overwritten.
    {{"c:make_snapshot:n:"},
     {failing_call::opendir, 1},
     happening::answered,
     "e:make_snapshot:n:",
     "[WARN]: Can't read /media//image/ to find a free name: Too many open files\n"},
    {{"c:kbd_zoom:n:"},
     {failing_call::spawn, 1},
     happening::answered,
     "e:kbd_zoom:n:",
     "[WARN]: Tool can't be run (Resource temporarily unavailable): vtrcore origin "},
    {{"c:kbd_zoom:n:"},
     {failing_call::waitpid, 2},
     happening::answered,
     "e:kbd_zoom:n:",
     "[WARN]: Tool can't be run (No child processes): vtrcore "},
    {{"c:kbd_nuc:n:"},
     {failing_call::pipe, 1},
     happening::answered,
     "e:kbd_nuc:n:",
     "[WARN]: Tool can't be run (Too many open files): vtrcore fast-nuc\n"},
    {{"c:set_nuc_type:i:2", "c:set_nuc_type:i:1"},
     {failing_call::spawn, 1},
     happening::answered,
     "e:set_nuc_type:n:",
     ""},
    {{"c:set_lum:i:2", "c:set_lum:i:1"},
     {failing_call::fopen, 1},
     happening::ended,
     "",
     "]: Failed to write luminance to /sys/bus/i2c/drivers/mxc_uoled_i2c/0-0024/attr_luminance\n"},
    // The settings can't be rewritten but apply.
    {{"c:set_lum:i:2", "c:set_lum:i:1"},
     {failing_call::open, 1},
     happening::answered,
     "r:set_lum:n:",
     "[WARN]: Failed to write the settings to /etc/vtrdc.conf: Too many open files\n"},
    {{"c:set_reticle_color:i:1", "c:set_reticle_color:i:2"},
     {failing_call::fsync, 1},
     happening::answered,
     "r:set_reticle_color:n:",
     "[WARN]: Failed to write the settings to /etc/vtrdc.conf: Input/output error\n"},
    {{"c:create_dot:n:"}, {failing_call::fopen, 1}, happening::answered, "r:create_dot:n:", ""},
    {{"c:get_lum:n:"}, {failing_call::recv, 1}, happening::closed, "", ""},
    {{"c:get_lum:n:"},
     {failing_call::send, 1},
     happening::dropped,
     "",
     "[WARN]: Failed to send data through client socket\n"},
    {{"c:get_lum:n:"}, {failing_call::poll, 1}, happening::answered, "r:get_lum:s:", ""},
    {{"c:get_lum:n:"},
     {failing_call::accept, 1},
     happening::ended,
     "",
     "[ERROR][errno=24]: failed to accept client connection\n"},
};

TEST_F(TourTest, KnownFailuresToTheLetter) {
    for (const known_case& each : known_cases) {
        const result result = take(each.step, each.failing);
        SCOPED_TRACE(each.step.request + (", " + describe(each.failing)));
        EXPECT_TRUE(subject_.has_failed());
        EXPECT_EQ(result.what, each.what);
        EXPECT_TRUE(result.reply.starts_with(each.reply)) << result.reply;
        EXPECT_NE(subject_.said().find(each.said), std::string::npos) << subject_.said();
        leave(each.step);
    }
}

TEST_F(TourTest, OutOfMemoryIsReported) {
    if (!MEMORY_FAILS) {
        GTEST_SKIP() << "memory is the sanitizer's";
    }
    const tour_step step{"c:get_lum:n:"};
    // First the client's record, then its request.
    EXPECT_EQ(take(step, {failing_call::malloc, 1}).what, happening::ended);
    EXPECT_NE(subject_.said().find("]: failed to create client sock\n"), std::string::npos)
        << subject_.said();
    EXPECT_EQ(take(step, {failing_call::malloc, 2}).what, happening::ended);
    EXPECT_NE(subject_.said().find("]: failed to malloc\n"), std::string::npos) << subject_.said();
}

// --- Start and stop --------------------------------------------------------------------------

class StartTest : public FaultTest {
protected:
    happening start_with(const fault& fault) {
        SCOPED_TRACE("start, " + describe(fault));
        plan(fault);
        const happening what = subject_.start();
        judge(fault, what);
        subject_.give_up();
        return what;
    }
};

TEST_F(StartTest, ServesOrEndsInAnErrorLine) {
    subject_.plan(failing_call::none, 0, 0);
    ASSERT_EQ(subject_.start(), happening::answered);
    const std::vector<fault> all = faults();
    subject_.give_up();
    for (const fault& fault : all) {
        // Requests have their own tests.
        const bool is_for_client = fault.call == failing_call::accept ||
                                   fault.call == failing_call::recv ||
                                   fault.call == failing_call::send;
        if (!is_for_client && is_drawn()) {
            start_with(fault);
        }
    }
}

TEST_F(StartTest, FailureOfARequiredCallEndsTheStart) {
    for (const failing_call call : {failing_call::signalfd, failing_call::sigprocmask,
                                    failing_call::socket, failing_call::bind, failing_call::listen,
                                    failing_call::timer_create, failing_call::timer_set}) {
        EXPECT_EQ(start_with({call, 1}), happening::ended);
    }
}

TEST_F(StartTest, FailureOfAnOptionalCallIsSurvived) {
    const struct {
        fault failing;
        const char* said;
    } cases[] = {
        {{failing_call::fopen, 1},
         "[WARN]: Failed to read the configuration file /etc/vtrdc.conf\n"},
        {{failing_call::fread, 1},
         "[WARN]: Failed to read the configuration file /etc/vtrdc.conf\n"},
        {{failing_call::open, 1}, ""},                            // the file that reports video
        {{failing_call::open, 2}, ""},                            // the buttons
        {{failing_call::spawn, 1}, "[WARN]: Tool can't be run "}, // the thermal core
    };
    for (const auto& each : cases) {
        EXPECT_EQ(start_with(each.failing), happening::answered);
        EXPECT_TRUE(subject_.has_failed());
        EXPECT_NE(subject_.said().find(each.said), std::string::npos);
    }
}

TEST_F(StartTest, DetachingNeedsAnotherProcess) {
    plan({failing_call::fork, 1});
    EXPECT_EQ(subject_.run({"-d"}), 1);
    EXPECT_TRUE(subject_.has_failed());
}

TEST_F(StartTest, OutOfMemoryForTheCommandSocketIsReported) {
    if (!MEMORY_FAILS) {
        GTEST_SKIP() << "memory is the sanitizer's";
    }
    // A start that ends right after allocating the record shows which call that was.
    EXPECT_EQ(start_with({failing_call::socket, 1}), happening::ended);
    const int of_record = subject_.made(failing_call::malloc);
    EXPECT_EQ(start_with({failing_call::malloc, of_record}), happening::ended);
    EXPECT_NE(subject_.said().find("]: Failed to create the command socket\n"), std::string::npos)
        << subject_.said();
}

class StopTest : public FaultTest {
protected:
    happening stop_with(const fault& fault) {
        EXPECT_EQ(subject_.start(), happening::answered);
        subject_.must_answer("c:enable_record:i:1");
        subject_.must_answer("c:enable_tcp_stream:i:1");
        plan(fault);
        return subject_.stop();
    }
};

TEST_F(StopTest, EndsWhateverFails) {
    EXPECT_EQ(stop_with({failing_call::fsync, 0}), happening::answered);
    for (const fault& fault : faults()) {
        if (is_drawn()) {
            SCOPED_TRACE("stop, " + describe(fault));
            judge(fault, stop_with(fault));
        }
    }
}

} // namespace

int main(int argc, char* argv[]) {
    testing::InitGoogleTest(&argc, argv);
    if (argc > 1 && std::string_view{argv[1]} == "--all") {
        sample_of = 1;
    }
    return RUN_ALL_TESTS();
}

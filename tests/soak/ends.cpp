// Ends pipes and checks that they end.
#include "ends.h"

#include "support/file_watch.h"

#include <gtest/gtest.h>

bool wait_for_log(log_reader& log, std::string_view text, int count) {
    const bool found = wait_for_file(
        log.path(), [&] { return log.count(text) >= count; }, WAIT_LIMIT);
    EXPECT_TRUE(found) << "waited in vain for " << text;
    return found;
}

void end_pipes(vtrdc_daemon& daemon, log_reader& log, std::initializer_list<int> pipes) {
    log.mark();
    for (const int pipe : pipes) {
        EXPECT_EQ(daemon.ask("c:kill_pipe:i:" + std::to_string(pipe)), "r:kill_pipe:n:");
    }
    for (const int pipe : pipes) {
        const std::string number = std::to_string(pipe);
        if (log.count("Sending eos on pipe: " + number + "\n") > 0 ||
            log.count("EOS to pipe: " + number + " already sent.\n") > 0) {
            static_cast<void>(wait_for_log(log, "Got EoS event on pipe " + number + "\n", 1));
        }
        EXPECT_EQ(daemon.ask("c:resume_pipe:i:" + number), "e:resume_pipe:n:");
    }
}

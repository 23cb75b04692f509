// Ends pipes and checks that they end.
#pragma once

#include "log_reader.h"
#include "support/daemon.h"

#include <initializer_list>

// Asks each pipe to end; existing ones must end in time. Marks the log.
void end_pipes(vtrdc_daemon& daemon, log_reader& log, std::initializer_list<int> pipes);

// Waits until a text was logged that often since the mark; a test failure on timeout.
[[nodiscard]] bool wait_for_log(log_reader& log, std::string_view text, int count);

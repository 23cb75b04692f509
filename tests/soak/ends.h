// Ending pipes and seeing that they end.
#pragma once

#include "log_reader.h"
#include "support/daemon.h"

#include <initializer_list>

// Asks each to end; those that exist must, in time. Marks the log.
void end_pipes(vtrdc_daemon& daemon, log_reader& log, std::initializer_list<int> pipes);

// Waits until a text was logged that often since the mark; a test failure when it was not in time.
[[nodiscard]] bool wait_for_log(log_reader& log, std::string_view text, int count);

// Signals as readable data: SIGINT and SIGTERM never interrupt the code.
#include "core/signals.h"

#include "core/log.h"

#include <csignal>
#include <cstring>
#include <sys/signalfd.h>
#include <unistd.h>

int signals_init() {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGINT);
    sigaddset(&set, SIGTERM);
    if (sigprocmask(SIG_SETMASK, &set, nullptr) != 0) {
        return -1;
    }
    std::signal(SIGPIPE, SIG_IGN);
    // If our parent ignored it, no tool that we run would have a status.
    std::signal(SIGCHLD, SIG_DFL);
    return signalfd(-1, &set, SFD_CLOEXEC);
}

int decode_signal(int signal_fd) {
    signalfd_siginfo info{};
    // The kernel's record has 128 bytes.
    if (read(signal_fd, &info, sizeof info) != static_cast<ssize_t>(sizeof info)) {
        log_fatal("failed reading signal event");
    }
    const int number = static_cast<int>(info.ssi_signo);
    log_message(LEVEL_DEBUG, "found signal %d:%s", number, strsignal(number));
    return number;
}

// Signals as readable data: those that ask the daemon to stop never interrupt the code.
#include "core/signals.h"

#include "core/log.h"

#include <array>
#include <csignal>
#include <cstring>
#include <sys/signalfd.h>
#include <unistd.h>

namespace {

// By default each of these ends a process at once, which would leave recordings unfinished.
constexpr std::array other_stop_signals{SIGHUP,  SIGQUIT, SIGUSR1, SIGUSR2, SIGALRM,  SIGVTALRM,
                                        SIGPROF, SIGIO,   SIGPWR,  SIGXCPU, SIGSTKFLT};

// Whoever started the process may have it outlive some, as nohup does SIGHUP.
bool is_ignored(int number) {
    struct sigaction action {};
    return sigaction(number, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

sigset_t stop_signals() {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGINT);
    sigaddset(&set, SIGTERM);
    for (const int number : other_stop_signals) {
        if (!is_ignored(number)) {
            sigaddset(&set, number);
        }
    }
    return set;
}

} // namespace

int signals_init() {
    const sigset_t set = stop_signals();
    if (sigprocmask(SIG_SETMASK, &set, nullptr) != 0) {
        return -1;
    }
    // Writing to a client that is gone, or beyond the limit of a file's size, only fails.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
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

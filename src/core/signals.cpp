// Stop signals as a readable descriptor, so that they never interrupt code.
#include "core/signals.h"

#include "core/log.h"

#include <array>
#include <csignal>
#include <cstring>
#include <sys/signalfd.h>
#include <unistd.h>

namespace {

// By default each of these ends the process at once, leaving recordings unfinished.
constexpr std::array other_stop_signals{SIGHUP,  SIGQUIT, SIGUSR1, SIGUSR2, SIGALRM,  SIGVTALRM,
                                        SIGPROF, SIGIO,   SIGPWR,  SIGXCPU, SIGSTKFLT};

// Empty before the start-up.
sigset_t stop_signals{};
bool a_stop_was_read = false;

// The parent may ignore some signals for us, as nohup does with SIGHUP.
bool is_ignored(int number) {
    struct sigaction action {};
    return sigaction(number, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

void collect_stop_signals() {
    sigemptyset(&stop_signals);
    sigaddset(&stop_signals, SIGINT);
    sigaddset(&stop_signals, SIGTERM);
    for (const int number : other_stop_signals) {
        if (!is_ignored(number)) {
            sigaddset(&stop_signals, number);
        }
    }
}

} // namespace

int signals_init() {
    a_stop_was_read = false;
    collect_stop_signals();
    if (sigprocmask(SIG_SETMASK, &stop_signals, nullptr) != 0) {
        return -1;
    }
    // Writing to a client that is gone, or beyond the file size limit, then fails with an error.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    // If the parent ignored it, waiting for our tools would fail.
    std::signal(SIGCHLD, SIG_DFL);
    return signalfd(-1, &stop_signals, SFD_CLOEXEC);
}

int decode_signal(int signal_fd) {
    signalfd_siginfo info{};
    // signalfd records have 128 bytes.
    if (read(signal_fd, &info, sizeof info) != static_cast<ssize_t>(sizeof info)) {
        log_fatal("failed reading signal event");
    }
    a_stop_was_read = true;
    const int number = static_cast<int>(info.ssi_signo);
    log_message(LEVEL_DEBUG, "found signal %d:%s", number, strsignal(number));
    return number;
}

bool stop_was_asked_for() {
    sigset_t waiting;
    sigpending(&waiting);
    sigandset(&waiting, &waiting, &stop_signals);
    return a_stop_was_read || sigisemptyset(&waiting) == 0;
}

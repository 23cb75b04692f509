// The real daemon on a board, as a test starts it, watches its log and stops it.
#pragma once

#include "support/board.h"

class vtrdc_daemon {
public:
    // Starts the daemon on the board with these options and environment assignments. Its standard
    // output, where the log goes without -l, is kept.
    explicit vtrdc_daemon(const board& board, const std::vector<std::string>& options = {},
                          const std::vector<std::string>& environment = {});
    vtrdc_daemon(const vtrdc_daemon&) = delete;
    vtrdc_daemon& operator=(const vtrdc_daemon&) = delete;
    // Ends a daemon that still runs; the log of a failed test is printed.
    ~vtrdc_daemon();

    [[nodiscard]] pid_t pid() const { return pid_; }
    [[nodiscard]] std::string output() const { return read_text(output_); }

    // Waits for the text to stand in the output, from the end of the previous such text on when
    // waited for in sequence. False when it doesn't come.
    [[nodiscard]] bool wait_for(std::string_view text);

    // Waits until the text stands in the output that often, wherever.
    [[nodiscard]] bool wait_for_count(std::string_view text, int count) const;

    // Waits until the panel shows the camera's picture with the overlay on it.
    [[nodiscard]] bool wait_until_live();

    // Sends one request over a connection that is kept, and returns its reply; empty when none
    // came. The command socket must be there (wait_until_live).
    std::string ask(std::string_view request);

    // A further connection to the command socket, owned by the caller; -1 when there is none.
    [[nodiscard]] int connect() const;

    // How often the text stands in the output.
    [[nodiscard]] int count(std::string_view text) const;

    void signal(int number) const;

    // Waits for the end: exit status, 128 + signal, or -1 when it takes longer.
    int wait_exit(std::chrono::milliseconds timeout);

    // Sends SIGTERM and waits for the end within the six seconds that a stop may take.
    int stop();

private:
    const board& board_;
    std::filesystem::path output_;
    pid_t pid_;
    bool running_ = true;
    int client_ = -1;
    std::size_t seen_ = 0;
};

// Sends one request on the connection and returns its reply; empty when none came.
std::string ask_over(int client, std::string_view request);

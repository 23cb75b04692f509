// Starts the real daemon on a board, watches its log and stops it.
#pragma once

#include "support/board.h"

class vtrdc_daemon {
public:
    // Starts the daemon on the board with these options and variables. Keeps its standard output,
    // which is the log without -l.
    explicit vtrdc_daemon(const board& board, const std::vector<std::string>& options = {},
                          const std::vector<std::string>& environment = {});
    vtrdc_daemon(const vtrdc_daemon&) = delete;
    vtrdc_daemon& operator=(const vtrdc_daemon&) = delete;
    // Ends a daemon that is still running; prints the log if the test failed.
    ~vtrdc_daemon();

    [[nodiscard]] pid_t pid() const { return pid_; }
    [[nodiscard]] std::string output() const { return read_text(output_); }

    // Waits for the text in the output; in sequence: after the previous such text. Returns false on
    // timeout.
    [[nodiscard]] bool wait_for(std::string_view text);

    // Waits until the output contains the text that often.
    [[nodiscard]] bool wait_for_count(std::string_view text, int count) const;

    // Waits until the panel shows the camera's picture with the overlay.
    [[nodiscard]] bool wait_until_live();

    // Sends one request over a kept connection and returns its reply; empty on timeout. The command
    // socket must exist (wait_until_live).
    std::string ask(std::string_view request);

    // Opens another connection to the command socket, owned by the caller; -1 on failure.
    [[nodiscard]] int connect() const;

    // How often the output contains the text.
    [[nodiscard]] int count(std::string_view text) const;

    void signal(int number) const;

    // Waits for the end. Returns the exit status, 128 + signal, or -1 on timeout.
    int wait_exit(std::chrono::milliseconds timeout);

    // Sends SIGTERM and waits for the end, within the six seconds that a stop may take.
    int stop();

private:
    const board& board_;
    std::filesystem::path output_;
    pid_t pid_;
    bool running_ = true;
    int client_ = -1;
    std::size_t seen_ = 0;
};

// Sends one request on the connection and returns its reply; empty on timeout.
std::string ask_over(int client, std::string_view request);

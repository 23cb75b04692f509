// The daemon's status file: finds it, reads it, and waits for changes.
#pragma once

#include "util/fd_owned.h"

#include <chrono>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <sys/types.h>

// Returns the path of the status file for that command socket: beside the socket, after resolving
// links.
[[nodiscard]] std::string status_path_beside(const std::string& socket_path);

struct daemon_status {
    std::string text; // of the whole file
    nlohmann::ordered_json object;
};

// When to stop waiting; none: never.
using time_limit = std::optional<std::chrono::steady_clock::time_point>;

class status_file {
public:
    // Starts watching the file: later changes end the next wait. The path may be a link to the
    // daemon's file.
    explicit status_file(const std::string& path);

    // Reads the status. Throws no_daemon if there is none or the process that wrote it has ended,
    // no_answer if it can't be read.
    [[nodiscard]] daemon_status read();

    // Like read, but waits for a daemon.
    [[nodiscard]] daemon_status read_in_time(time_limit limit);

    // Waits until the file changes or the process that wrote it ends. May also return true without
    // either. Returns false at the time limit.
    [[nodiscard]] bool wait(time_limit limit);

private:
    void watch_folder();
    [[nodiscard]] bool watch_process(pid_t pid);
    [[nodiscard]] bool has_changed() const;

    std::string path_;
    fd_owned notices_;
    bool is_watching_ = false;
    fd_owned process_; // pidfd; none on kernels without it
};

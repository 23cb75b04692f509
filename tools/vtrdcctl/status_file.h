// The daemon's status file: where it is, what it says, and waiting for its changes.
#pragma once

#include "util/fd_owned.h"

#include <chrono>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <sys/types.h>

// Where the daemon with that command socket keeps its status: beside the socket, also where the
// path is a link.
[[nodiscard]] std::string status_path_beside(const std::string& socket_path);

struct daemon_status {
    std::string text; // of the file
    nlohmann::ordered_json object;
};

// When waiting ends; none: never.
using time_limit = std::optional<std::chrono::steady_clock::time_point>;

class status_file {
public:
    // Begins to watch the file: a change after that ends the next wait. The path may be a link to
    // where the daemon writes it.
    explicit status_file(const std::string& path);

    // What it says. A no_daemon when it is not there or the process has ended that wrote it; a
    // no_answer when it can't be read.
    [[nodiscard]] daemon_status read();

    // As read, but waits for a daemon.
    [[nodiscard]] daemon_status read_in_time(time_limit limit);

    // Waits until the file has changed or the process has ended that wrote it. True now and then
    // without either; false when the time is up.
    [[nodiscard]] bool wait(time_limit limit);

private:
    void watch_folder();
    [[nodiscard]] bool watch_process(pid_t pid);
    [[nodiscard]] bool has_changed() const;

    std::string path_;
    fd_owned notices_;
    bool is_watching_ = false;
    fd_owned process_; // none where the kernel has no such descriptors
};

// Follows the daemon's log file as it grows, and keeps its last lines for pages that come later.
#pragma once

#include "loop.h"

#include <deque>
#include <filesystem>
#include <functional>
#include <span>
#include <string>
#include <vector>

namespace sim {

class log_tail {
public:
    // Lines that came, at most ten times a second. `is_fresh`: the file was begun anew, all lines
    // of before are history.
    using listener = std::function<void(bool is_fresh, std::span<const std::string> lines)>;

    log_tail(std::filesystem::path path, listener on_lines);
    log_tail(const log_tail&) = delete;
    log_tail& operator=(const log_tail&) = delete;
    ~log_tail();

    [[nodiscard]] const std::deque<std::string>& last_lines() const { return last_lines_; }

private:
    void read_soon();
    void read_more();
    [[nodiscard]] bool reopen_when_begun_anew();
    void take_bytes(std::string_view bytes, std::vector<std::string>& lines);

    const std::filesystem::path path_;
    const listener on_lines_;
    int file_ = -1;
    off_t position_ = 0;
    std::string unfinished_; // of a line, so far
    std::deque<std::string> last_lines_;
    timer soon_;
    file_watch watch_;
};

} // namespace sim

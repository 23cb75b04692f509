// Follows the daemon's log file and keeps its last lines for later pages.
#pragma once

#include "loop.h"
#include "util/fd_owned.h"

#include <deque>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace web {

class log_tail {
public:
    // Called at most ten times a second, after new lines. `lines` are those since the last call;
    // with `is_fresh`, they replace all earlier ones.
    using listener = std::function<void(bool is_fresh, const std::deque<std::string>& lines)>;

    log_tail(std::filesystem::path path, listener on_news);
    log_tail(const log_tail&) = delete;
    log_tail& operator=(const log_tail&) = delete;

    [[nodiscard]] const std::deque<std::string>& last_lines() const { return last_lines_; }

private:
    void read_soon(std::chrono::milliseconds after);
    void read_more();
    void reopen_when_replaced();
    [[nodiscard]] bool read_slice();
    void take_bytes(std::string_view bytes);
    void end_line();
    void tell_news();

    const std::filesystem::path path_;
    const listener on_news_;
    fd_owned file_;
    off_t position_ = 0;
    std::string unfinished_; // incomplete last line
    std::deque<std::string> last_lines_;
    std::size_t last_bytes_ = 0; // size of these lines
    std::size_t untold_ = 0;     // number of lines at the end not yet reported
    bool is_fresh_ = false;      // for the next report
    timer soon_;
    file_watch watch_;
};

} // namespace web

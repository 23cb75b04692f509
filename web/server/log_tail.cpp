// Follows the daemon's log file as it grows.
#include "log_tail.h"

#include <algorithm>
#include <array>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace web {
namespace {

using std::chrono::milliseconds;

// Collects lines for one message: a debug log has hundreds a second.
constexpr milliseconds LOG_DELAY{100};

// Kept lines are sent as one message, which must fit in a page's send buffer.
constexpr std::size_t LINES_MAX = 2000;
constexpr std::size_t BYTES_MAX = std::size_t{512} * 1024;

// Memory limit for a line without an end.
constexpr std::size_t LINE_BYTES_MAX = 8192;

// Maximum read from a long log per turn of the main loop.
constexpr std::size_t SLICE_BYTES_MAX = std::size_t{1024} * 1024;

} // namespace

log_tail::log_tail(std::filesystem::path path, listener on_news)
    : path_(std::move(path)), on_news_(std::move(on_news)),
      watch_([this](const std::string& /*folder*/, const std::string& name) {
          if (name.empty() || name == path_.filename()) {
              read_soon(LOG_DELAY);
          }
      }) {
    watch_.add(path_.parent_path());
}

void log_tail::read_soon(milliseconds after) {
    if (!soon_.is_waiting()) {
        soon_.once(after, [this] { read_more(); });
    }
}

// The name may refer to a new file, or the file was truncated.
void log_tail::reopen_when_replaced() {
    struct stat named {};
    if (stat(path_.c_str(), &named) != 0) {
        return;
    }
    struct stat opened {};
    if (file_ && fstat(file_.get(), &opened) == 0 && opened.st_ino == named.st_ino &&
        opened.st_dev == named.st_dev && opened.st_size >= position_) {
        return;
    }
    file_ = fd_owned(open(path_.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    position_ = 0;
    unfinished_.clear();
    last_lines_.clear();
    last_bytes_ = 0;
    untold_ = 0;
    is_fresh_ = true;
}

void log_tail::read_more() {
    reopen_when_replaced();
    if (read_slice()) {
        read_soon(milliseconds{0});
    } else if (is_fresh_ || untold_ > 0) {
        tell_news();
    }
}

// Returns true if there may be more.
bool log_tail::read_slice() {
    if (!file_) {
        return false;
    }
    std::array<char, 65536> bytes; // filled by read below
    for (std::size_t taken = 0; taken < SLICE_BYTES_MAX;) {
        const ssize_t size = pread(file_.get(), bytes.data(), bytes.size(), position_);
        if (size <= 0) {
            return false;
        }
        position_ += size;
        taken += static_cast<std::size_t>(size);
        take_bytes({bytes.data(), static_cast<std::size_t>(size)});
    }
    return true;
}

void log_tail::take_bytes(std::string_view bytes) {
    while (!bytes.empty()) {
        const std::size_t room = LINE_BYTES_MAX - unfinished_.size();
        const std::size_t end = bytes.substr(0, room + 1).find('\n');
        const bool is_whole = end != std::string_view::npos;
        const std::size_t length = std::min({end, room, bytes.size()});
        unfinished_ += bytes.substr(0, length);
        bytes.remove_prefix(is_whole ? length + 1 : length);
        if (is_whole || room == 0) {
            end_line();
        }
    }
}

void log_tail::end_line() {
    last_lines_.push_back(std::exchange(unfinished_, {}));
    last_bytes_ += last_lines_.back().size();
    ++untold_;
    while (last_lines_.size() > LINES_MAX || last_bytes_ > BYTES_MAX) {
        last_bytes_ -= last_lines_.front().size();
        last_lines_.pop_front();
    }
}

void log_tail::tell_news() {
    const std::size_t untold = std::exchange(untold_, 0);
    if (std::exchange(is_fresh_, false) || untold >= last_lines_.size()) {
        on_news_(true, last_lines_);
        return;
    }
    on_news_(false, {last_lines_.end() - static_cast<std::ptrdiff_t>(untold), last_lines_.end()});
}

} // namespace web

// Follows the daemon's log file as it grows.
#include "log_tail.h"

#include <array>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace sim {
namespace {

// Together in one message to the pages: a debug log has hundreds of lines a second.
constexpr std::chrono::milliseconds gathering{100};

constexpr std::size_t lines_kept = 2000;

// A line without an end must not fill the memory.
constexpr std::size_t line_max = 8192;

} // namespace

log_tail::log_tail(std::filesystem::path path, listener on_lines)
    : path_(std::move(path)), on_lines_(std::move(on_lines)),
      watch_([this](const std::string& /*folder*/, const std::string& name) {
          if (name.empty() || name == path_.filename()) {
              read_soon();
          }
      }) {
    watch_.add(path_.parent_path());
}

log_tail::~log_tail() {
    if (file_ >= 0) {
        close(file_);
    }
}

void log_tail::read_soon() {
    if (!soon_.is_waiting()) {
        soon_.once(gathering, [this] { read_more(); });
    }
}

// True when what was read before is history: another file has the name, or this one was cut.
bool log_tail::reopen_when_begun_anew() {
    struct stat named {};
    if (stat(path_.c_str(), &named) != 0) {
        return false;
    }
    struct stat opened {};
    if (file_ >= 0 && fstat(file_, &opened) == 0 && opened.st_ino == named.st_ino &&
        opened.st_dev == named.st_dev && opened.st_size >= position_) {
        return false;
    }
    if (file_ >= 0) {
        close(file_);
    }
    file_ = open(path_.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    position_ = 0;
    unfinished_.clear();
    last_lines_.clear();
    return true;
}

void log_tail::read_more() {
    const bool is_fresh = reopen_when_begun_anew();
    std::vector<std::string> lines;
    std::array<char, 65536> bytes; // filled just below
    ssize_t size = 0;
    while (file_ >= 0 && (size = pread(file_, bytes.data(), bytes.size(), position_)) > 0) {
        position_ += size;
        take_bytes({bytes.data(), static_cast<std::size_t>(size)}, lines);
    }
    if (is_fresh || !lines.empty()) {
        on_lines_(is_fresh, lines);
    }
}

void log_tail::take_bytes(std::string_view bytes, std::vector<std::string>& lines) {
    for (const char byte : bytes) {
        if (byte != '\n' && unfinished_.size() < line_max) {
            unfinished_ += byte;
            continue;
        }
        last_lines_.push_back(unfinished_);
        lines.push_back(std::exchange(unfinished_, {}));
        if (last_lines_.size() > lines_kept) {
            last_lines_.pop_front();
        }
    }
}

} // namespace sim

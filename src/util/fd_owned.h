// Owner of a file descriptor.
#pragma once

#include <unistd.h>
#include <utility>

class fd_owned {
public:
    fd_owned() = default;
    // Takes ownership; negative means none, as in system calls.
    explicit fd_owned(int fd) : fd_(fd) {}
    fd_owned(fd_owned&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    fd_owned& operator=(fd_owned&& other) noexcept {
        std::swap(fd_, other.fd_);
        return *this;
    }
    fd_owned(const fd_owned&) = delete;
    fd_owned& operator=(const fd_owned&) = delete;
    ~fd_owned() { reset(); }

    void reset() {
        if (fd_ >= 0) {
            close(std::exchange(fd_, -1));
        }
    }
    // Gives up ownership.
    [[nodiscard]] int release() { return std::exchange(fd_, -1); }
    [[nodiscard]] int get() const { return fd_; }
    explicit operator bool() const { return fd_ >= 0; }

private:
    int fd_ = -1;
};

// An open file that is closed with its owner, and failures of calls on it.
#pragma once

#include <cerrno>
#include <string>
#include <system_error>
#include <unistd.h>
#include <utility>

class descriptor {
public:
    descriptor() = default;
    explicit descriptor(int number) : number_{number} {}
    descriptor(descriptor&& other) noexcept : number_{std::exchange(other.number_, -1)} {}
    descriptor& operator=(descriptor&& other) noexcept {
        std::swap(number_, other.number_);
        return *this;
    }
    descriptor(const descriptor&) = delete;
    descriptor& operator=(const descriptor&) = delete;
    ~descriptor() {
        if (number_ >= 0) {
            close(number_);
        }
    }

    [[nodiscard]] int get() const { return number_; }
    [[nodiscard]] bool is_open() const { return number_ >= 0; }

private:
    int number_ = -1;
};

// Ends what is being done with a file: errno is the reason.
[[noreturn]] inline void throw_errno(const std::string& doing) {
    throw std::system_error{errno, std::generic_category(), doing};
}

// For a call that answers -1 when it fails.
inline void require_done(int result, const char* doing) {
    if (result < 0) {
        throw_errno(doing);
    }
}

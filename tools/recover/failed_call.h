// Errors of file operations.
#pragma once

#include <cerrno>
#include <string>
#include <system_error>

// Throws a std::system_error with errno.
[[noreturn]] inline void throw_errno(const std::string& doing) {
    throw std::system_error{errno, std::generic_category(), doing};
}

// Checks a call that returns -1 on failure.
inline void require_done(int result, const char* doing) {
    if (result < 0) {
        throw_errno(doing);
    }
}

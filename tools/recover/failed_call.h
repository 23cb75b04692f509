// Failures of calls on files.
#pragma once

#include <cerrno>
#include <string>
#include <system_error>

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

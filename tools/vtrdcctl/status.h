// How vtrdcctl ends, and the failures that end it.
#pragma once

#include <stdexcept>

// Exit statuses. The last two are those of sysexits.h.
enum exit_status : int {
    STATUS_DONE = 0,
    STATUS_REFUSED = 1,     // an error reply
    STATUS_NO_ANSWER = 2,   // no daemon, or none that answers
    STATUS_USAGE = 64,      // wrong options, command or arguments; nothing was sent
    STATUS_OUTPUT_LOST = 74 // answers could not be written
};

// For an error reply without a text. Most refused arguments leave nothing in the log either.
inline constexpr const char* NO_REASON = "failed without a reason; the daemon's log may have one";

// Nothing was sent, because the daemon would take it for something else.
class usage_error : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// A request was not answered, and further ones over the same connection would not be.
class no_answer : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// How vtrdcctl ends, and the failures that end it.
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

// Exit statuses. The last two are those of sysexits.h.
enum exit_status : int {
    STATUS_DONE = 0,
    STATUS_REFUSED = 1,     // an error reply
    STATUS_NO_ANSWER = 2,   // no daemon, or none that answers
    STATUS_USAGE = 64,      // wrong options, command or arguments; nothing was sent
    STATUS_OUTPUT_LOST = 74 // answers could not be written
};

// Nothing was sent, because the daemon would take it for something else.
class usage_error : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;

    // In what is said of that command.
    usage_error(std::string_view command, const std::string& problem)
        : std::runtime_error{std::string{command} + ": " + problem}, command_length_{
                                                                         command.size()} {}

    // The command, empty for none, and the problem without it.
    [[nodiscard]] std::string_view command() const { return {what(), command_length_}; }
    [[nodiscard]] std::string_view problem() const {
        return std::string_view{what()}.substr(command_length_ == 0 ? 0 : command_length_ + 2);
    }

private:
    std::size_t command_length_ = 0;
};

// A request was not answered, and further ones over the same connection would not be.
class no_answer : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// There is no daemon, but one may start.
class no_daemon : public no_answer {
public:
    using no_answer::no_answer;
};

// Exit statuses of vtrdcctl, and the exceptions behind them.
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

// The last two are from sysexits.h.
enum exit_status : int {
    STATUS_DONE = 0,
    STATUS_REFUSED = 1,     // an error reply
    STATUS_NO_ANSWER = 2,   // no daemon, or it doesn't answer
    STATUS_USAGE = 64,      // invalid options, command or arguments; nothing was sent
    STATUS_OUTPUT_LOST = 74 // answers could not be written
};

// Invalid input; nothing was sent.
class usage_error : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;

    // For an error in a certain command.
    usage_error(std::string_view command, const std::string& problem)
        : std::runtime_error{std::string{command} + ": " + problem}, command_length_{
                                                                         command.size()} {}

    // The command, or empty, and the message without it.
    [[nodiscard]] std::string_view command() const { return {what(), command_length_}; }
    [[nodiscard]] std::string_view problem() const {
        return std::string_view{what()}.substr(command_length_ == 0 ? 0 : command_length_ + 2);
    }

private:
    std::size_t command_length_ = 0;
};

// A request got no answer; the connection can't be used any more.
class no_answer : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// No daemon is running, but one may start.
class no_daemon : public no_answer {
public:
    using no_answer::no_answer;
};

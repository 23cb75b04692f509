// Runs commands from a text, one a line.
#include "vtrdcctl/script.h"

#include "vtrdcctl/answers.h"

#include <iomanip>
#include <sstream>

namespace {

bool is_passed_over(const std::string& line) {
    const std::size_t start = line.find_first_not_of(" \t\r");
    return start == std::string::npos || line[start] == '#';
}

exit_status run_line(client& client, const std::string& line, const std::string& place) {
    try {
        const std::vector<std::string> words = split_words(line);
        return client.run(find_command(words.front()), std::span{words}.subspan(1), place);
    } catch (const usage_error& error) {
        write_failure(client.is_json(), {STATUS_USAGE, error.command(), error.problem(), place});
        return STATUS_USAGE;
    }
}

} // namespace

std::vector<std::string> split_words(const std::string& line) {
    std::vector<std::string> words;
    std::istringstream text{line};
    while (text >> std::ws && !text.eof()) {
        std::string word;
        if (!(text >> std::quoted(word))) {
            throw usage_error{"unclosed quotes"};
        }
        words.push_back(word);
    }
    return words;
}

exit_status run_script(client& client, std::istream& text, bool keep_going) {
    exit_status result = STATUS_DONE;
    std::string line;
    for (int number = 1; std::getline(text, line); ++number) {
        if (is_passed_over(line)) {
            continue;
        }
        const exit_status status = run_line(client, line, "line " + std::to_string(number));
        result = result == STATUS_DONE ? status : result;
        if (result != STATUS_DONE && !keep_going) {
            break;
        }
    }
    return result;
}

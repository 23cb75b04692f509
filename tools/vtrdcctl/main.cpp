// vtrdcctl, the command-line client of the daemon.
#include "vtrdcctl/command_line.h"
#include "vtrdcctl/completion.h"
#include "vtrdcctl/script.h"

#include <iostream>
#include <span>

namespace {

exit_status run(const command_line& line) {
    if (!line.completion.empty()) {
        std::cout << bash_completion(option_names());
        return STATUS_DONE;
    }
    client client{line.client};
    if (!line.script.empty()) {
        return run_script(client, std::cin, line.keep_going);
    }
    const std::string& name = line.words.front();
    return client.run(find_command(name), std::span{line.words}.subspan(1), name);
}

exit_status failed(const std::exception& error, exit_status status) {
    std::cerr << "vtrdcctl: " << error.what() << '\n';
    return status;
}

exit_status run_command_line(int argc, const char* const* argv) {
    try {
        const std::optional<command_line> line = read_command_line(argc, argv);
        return line ? run(*line) : STATUS_DONE;
    } catch (const usage_error& error) {
        return failed(error, STATUS_USAGE);
    } catch (const no_answer& error) {
        return failed(error, STATUS_NO_ANSWER);
    }
}

} // namespace

// NOLINTNEXTLINE(bugprone-exception-escape): any other exception is a bug, and ends the program
int main(int argc, char* argv[]) {
    const exit_status status = run_command_line(argc, argv);
    if (!std::cout.flush()) {
        std::cerr << "vtrdcctl: can't write to standard output\n";
        return STATUS_OUTPUT_LOST;
    }
    return status;
}

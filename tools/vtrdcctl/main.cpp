// vtrdcctl, the command-line client of the daemon.
#include "vtrdcctl/answers.h"
#include "vtrdcctl/command_line.h"
#include "vtrdcctl/completion.h"
#include "vtrdcctl/script.h"

#include <iostream>
#include <span>

namespace {

exit_status run(const command_line& line) {
    if (!line.completion.empty()) {
        std::cout << bash_completion(all_names());
        return STATUS_DONE;
    }
    client client{line.client};
    if (!line.script.empty()) {
        return run_script(client, std::cin, line.keep_going);
    }
    const std::string& name = line.words.front();
    if (name == "status") {
        return show_status(line.client);
    }
    if (name == "watch") {
        return watch_status(line.client, line.watch);
    }
    return client.run(find_command(name), std::span{line.words}.subspan(1));
}

exit_status failed(const command_line& line, const failure& what) {
    write_failure(line.client.is_json, what);
    return what.status;
}

exit_status run_command_line(int argc, const char* const* argv) {
    command_line line;
    try {
        return read_command_line(argc, argv, line) ? run(line) : STATUS_DONE;
    } catch (const usage_error& error) {
        return failed(line, {STATUS_USAGE, error.command(), error.problem()});
    } catch (const no_answer& error) {
        const std::string_view command =
            line.words.empty() ? "" : std::string_view{line.words.front()};
        return failed(line, {STATUS_NO_ANSWER, command, error.what()});
    }
}

} // namespace

// NOLINTNEXTLINE(bugprone-exception-escape): any other exception is a bug; terminate
int main(int argc, char* argv[]) {
    const exit_status status = run_command_line(argc, argv);
    if (!std::cout.flush()) {
        std::cerr << "vtrdcctl: can't write to standard output\n";
        return STATUS_OUTPUT_LOST;
    }
    return status;
}

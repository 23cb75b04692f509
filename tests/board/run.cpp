// Running a command to its end and looking at what it said.
#include "run.h"

#include "support/process.h"
#include "support/temp_folder.h"

outcome run(const std::vector<std::string>& command, const std::vector<std::string>& assignments) {
    const temp_folder folder;
    const std::filesystem::path output = folder.path() / "output";
    const pid_t pid = spawn(command, environment_with(assignments), output);
    const int status = wait_for_exit(pid, WAIT_LIMIT);
    return {status, read_text(output), pid};
}

std::vector<std::string> front_door(const std::string& name,
                                    const std::vector<std::string>& words) {
    std::vector<std::string> command{VTRDC_SOURCE_DIR "/" + name};
    command.insert(command.end(), words.begin(), words.end());
    return command;
}
